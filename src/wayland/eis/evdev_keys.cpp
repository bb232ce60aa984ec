#include "wayland/eis/evdev_keys.h"

#include <unordered_map>

#include <X11/keysym.h>
#include <linux/input-event-codes.h>

#include "keys/typed_keysym.h"

namespace ostler {
namespace {

constexpr std::uint32_t letterCodes[] = {KEY_A, KEY_B, KEY_C, KEY_D, KEY_E, KEY_F, KEY_G, KEY_H, KEY_I,
                                         KEY_J, KEY_K, KEY_L, KEY_M, KEY_N, KEY_O, KEY_P, KEY_Q, KEY_R,
                                         KEY_S, KEY_T, KEY_U, KEY_V, KEY_W, KEY_X, KEY_Y, KEY_Z};
constexpr std::uint32_t digitCodes[] = {KEY_0, KEY_1, KEY_2, KEY_3, KEY_4, KEY_5, KEY_6, KEY_7, KEY_8, KEY_9};
constexpr char shiftedDigits[] = ")!@#$%^&*(";

struct NamedKey {
  std::uint64_t keysym;
  std::uint32_t code;
};
constexpr NamedKey namedKeys[] = {
    {XK_Return, KEY_ENTER},
    {XK_KP_Enter, KEY_KPENTER},
    {XK_BackSpace, KEY_BACKSPACE},
    {XK_Tab, KEY_TAB},
    {XK_Escape, KEY_ESC},
    {XK_space, KEY_SPACE},
    {XK_Delete, KEY_DELETE},
    {XK_Home, KEY_HOME},
    {XK_End, KEY_END},
    {XK_Page_Up, KEY_PAGEUP},
    {XK_Page_Down, KEY_PAGEDOWN},
    {XK_Left, KEY_LEFT},
    {XK_Right, KEY_RIGHT},
    {XK_Up, KEY_UP},
    {XK_Down, KEY_DOWN},
    {XK_Insert, KEY_INSERT},
    {XK_Shift_L, KEY_LEFTSHIFT},
    {XK_Shift_R, KEY_RIGHTSHIFT},
    {XK_Control_L, KEY_LEFTCTRL},
    {XK_Control_R, KEY_RIGHTCTRL},
    {XK_Alt_L, KEY_LEFTALT},
    {XK_Alt_R, KEY_RIGHTALT},
    {XK_Super_L, KEY_LEFTMETA},
    {XK_Super_R, KEY_RIGHTMETA},
    {XK_Caps_Lock, KEY_CAPSLOCK},
    {XK_Num_Lock, KEY_NUMLOCK},
    {XK_F11, KEY_F11},
    {XK_F12, KEY_F12},
};

struct PunctuationKey {
  std::uint32_t code;
  char plain;
  char shifted;
};
constexpr PunctuationKey punctuationKeys[] = {
    {KEY_MINUS, '-', '_'},       {KEY_EQUAL, '=', '+'},      {KEY_LEFTBRACE, '[', '{'},
    {KEY_RIGHTBRACE, ']', '}'},  {KEY_BACKSLASH, '\\', '|'}, {KEY_SEMICOLON, ';', ':'},
    {KEY_APOSTROPHE, '\'', '"'}, {KEY_GRAVE, '`', '~'},      {KEY_COMMA, ',', '<'},
    {KEY_DOT, '.', '>'},         {KEY_SLASH, '/', '?'},
};

std::unordered_map<std::uint64_t, EvdevKey> makeTable() {
  std::unordered_map<std::uint64_t, EvdevKey> table;
  for (const NamedKey& key : namedKeys) table[key.keysym] = {.code = key.code};
  for (std::uint32_t i = 0; i < 10; ++i) {
    table[XK_F1 + i] = {.code = KEY_F1 + i};  // F1 to F10; the codes of F11 and F12 do not follow
    table[static_cast<unsigned char>(shiftedDigits[i])] = {.code = digitCodes[i], .shift = true};
  }
  for (const PunctuationKey& key : punctuationKeys) {
    table[static_cast<unsigned char>(key.plain)] = {.code = key.code};
    table[static_cast<unsigned char>(key.shifted)] = {.code = key.code, .shift = true};
  }
  return table;
}

}  // namespace

std::optional<EvdevKey> findEvdevKey(std::uint64_t keysym) {
  if (keysym >= XK_a && keysym <= XK_z) return EvdevKey{.code = letterCodes[keysym - XK_a]};
  if (keysym >= XK_A && keysym <= XK_Z) return EvdevKey{.code = letterCodes[keysym - XK_A], .shift = true};
  if (keysym >= XK_0 && keysym <= XK_9) return EvdevKey{.code = digitCodes[keysym - XK_0]};
  static const std::unordered_map<std::uint64_t, EvdevKey> table = makeTable();
  const auto row = table.find(keysym);
  return row != table.end() ? std::optional(row->second) : std::nullopt;
}

std::optional<EvdevKey> findUsKey(std::uint64_t keysym) {
  // A code point above ASCII can equal the keysym of another key: U+FF0D is not Return (0xFF0D).
  const bool isAscii = keysym >= unicodeKeysymBase && keysym < unicodeKeysymBase + 0x80;
  return findEvdevKey(isAscii ? keysym - unicodeKeysymBase : keysym);
}

}  // namespace ostler
