#include "keys/key_names.h"

#include <algorithm>
#include <stdexcept>

#include <X11/Xlib.h>
#include <X11/keysym.h>

#include "keys/key_tables.h"
#include "keys/text.h"

namespace ostler {
namespace {

const KeysymTable moreKeyNames = [] {
  KeysymTable table{
      {"print", XK_Print},
      {"printscreen", XK_Print},
      {"prtsc", XK_Print},
      {"pause", XK_Pause},
      {"scrolllock", XK_Scroll_Lock},
      {"numlock", XK_Num_Lock},
      {"menu", XK_Menu},
      {"leftctrl", XK_Control_L},
      {"rightctrl", XK_Control_R},
      {"leftshift", XK_Shift_L},
      {"rightshift", XK_Shift_R},
      {"leftalt", XK_Alt_L},
      {"rightalt", XK_Alt_R},
      {"leftsuper", XK_Super_L},
      {"rightsuper", XK_Super_R},
      {"leftmeta", XK_Super_L},
      {"rightmeta", XK_Super_R},
      {"altgr", XK_ISO_Level3_Shift},
      {"kpenter", XK_KP_Enter},
      {"kpadd", XK_KP_Add},
      {"kpsubtract", XK_KP_Subtract},
      {"kpmultiply", XK_KP_Multiply},
      {"kpdivide", XK_KP_Divide},
      {"kpdecimal", XK_KP_Decimal},
  };
  for (int digit = 0; digit <= 9; ++digit) table.emplace("kp" + std::to_string(digit), XK_KP_0 + digit);
  for (int n = 13; n <= 24; ++n) table.emplace("f" + std::to_string(n), XK_F1 + n - 1);
  return table;
}();

bool isModifier(std::uint64_t keysym) {
  return (keysym >= XK_Shift_L && keysym <= XK_Hyper_R && keysym != XK_Caps_Lock &&
          keysym != XK_Shift_Lock) ||
         keysym == XK_ISO_Level3_Shift || keysym == XK_ISO_Level5_Shift;
}

std::optional<std::uint64_t> find(const KeysymTable& table, const std::string& name) {
  const auto row = table.find(name);
  return row != table.end() ? std::optional(row->second) : std::nullopt;
}

std::optional<std::uint64_t> findKeysym(const std::string& name) {
  const std::string folded = foldCase(name);
  for (const KeysymTable* table : {&modifierNameTable, &keyNameTable, &moreKeyNames}) {
    if (const auto keysym = find(*table, folded)) return keysym;
  }
  const KeySym keysym = XStringToKeysym(name.c_str());
  return keysym != NoSymbol ? std::optional<std::uint64_t>(keysym) : std::nullopt;
}

}  // namespace

std::optional<KeyCombo> resolveNamedKeys(const std::string& combo, std::string_view platform,
                                         const KeyResolver& resolve) {
  const std::vector<std::string> parts = splitKeyCombo(combo);
  if (parts.empty()) return std::nullopt;
  KeyCombo result;
  for (const std::string& part : parts) {
    if (part.empty()) continue;
    const auto keysym = findKeysym(part);
    if (!keysym) {
      throw std::runtime_error(
          "Unsupported key combo part on " + std::string(platform) + ": " + part +
          ". Known are letters, digits, punctuation, f1 to f24, the keypad keys kp0 to kp9, kpenter, kpadd, "
          "kpsubtract, kpmultiply, kpdivide and kpdecimal, the names return, enter, tab, escape, space, "
          "backspace, "
          "delete, insert, home, end, pageup, pagedown, up, down, left, right, capslock, numlock, "
          "scrolllock, print, "
          "pause, menu, minus, equal and plus, the modifiers ctrl, shift, alt, super, leftctrl, rightctrl, "
          "leftshift, "
          "rightshift, leftalt, rightalt, leftsuper, rightsuper and altgr, and X keysyms such as Page_Down.");
    }
    const std::uint64_t key = resolve(*keysym, part);
    if (isModifier(*keysym)) {
      result.held.push_back(key);
    } else {
      result.main = key;
    }
  }
  if (result.main != 0) return result;
  if (result.held.empty()) throw std::runtime_error("Key combo did not resolve to a key: " + combo);
  result.main = result.held.back();
  result.held.pop_back();
  return result;
}

}  // namespace ostler
