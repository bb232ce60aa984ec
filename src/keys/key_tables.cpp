#include "keys/key_tables.h"

#include <X11/keysym.h>

namespace ostler {

const KeysymTable keyNameTable = [] {
  KeysymTable table{
      {"return", XK_Return},
      {"enter", XK_Return},
      {"tab", XK_Tab},
      {"escape", XK_Escape},
      {"esc", XK_Escape},
      {"space", XK_space},
      {"backspace", XK_BackSpace},
      {"delete", XK_Delete},
      {"up", XK_Up},
      {"down", XK_Down},
      {"left", XK_Left},
      {"right", XK_Right},
      {"home", XK_Home},
      {"end", XK_End},
      {"pageup", XK_Page_Up},
      {"pagedown", XK_Page_Down},
      {"insert", XK_Insert},
      {"capslock", XK_Caps_Lock},
      {"forwarddelete", XK_Delete},
      // "+" separates the parts of a combo, so the key with "+" is named "plus". It is the key that
      // also bears "=", and the name does not imply Shift.
      {"minus", XK_minus},
      {"equal", XK_equal},
      {"plus", XK_equal},
  };
  // The keysym of an ASCII character is its code.
  for (const char punctuation : std::string("-=[]\\;',./`")) {
    table.emplace(std::string(1, punctuation), punctuation);
  }
  for (char digit = '0'; digit <= '9'; ++digit) table.emplace(std::string(1, digit), digit);
  for (char letter = 'a'; letter <= 'z'; ++letter) table.emplace(std::string(1, letter), letter);
  for (int n = 1; n <= 12; ++n) table.emplace("f" + std::to_string(n), XK_F1 + n - 1);
  return table;
}();

const KeysymTable modifierNameTable{
    {"ctrl", XK_Control_L}, {"control", XK_Control_L}, {"shift", XK_Shift_L},
    {"alt", XK_Alt_L},      {"option", XK_Alt_L},      {"super", XK_Super_L},
    {"meta", XK_Super_L},   {"cmd", XK_Super_L},       {"command", XK_Super_L},
};

}  // namespace ostler
