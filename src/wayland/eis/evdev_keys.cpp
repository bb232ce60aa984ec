#include "wayland/eis/evdev_keys.h"

#include <unordered_map>

namespace ostler {
namespace {

constexpr std::uint32_t letterCodes[] = {30, 48, 46, 32, 18, 33, 34, 35, 23, 36, 37, 38, 50,
                                         49, 24, 25, 16, 19, 31, 20, 22, 47, 17, 45, 21, 44};
constexpr std::uint32_t digitCodes[] = {11, 2, 3, 4, 5, 6, 7, 8, 9, 10};

struct Row {
  std::uint64_t keysym;
  std::uint32_t code;
};
constexpr Row namedKeys[] = {
    {0xFF0D, 28},   // Return
    {0xFF8D, 96},   // KP_Enter
    {0xFF08, 14},   // BackSpace
    {0xFF09, 15},   // Tab
    {0xFF1B, 1},    // Escape
    {0x0020, 57},   // space
    {0xFFFF, 111},  // Delete
    {0xFF50, 102},  // Home
    {0xFF57, 107},  // End
    {0xFF55, 104},  // Page_Up
    {0xFF56, 109},  // Page_Down
    {0xFF51, 105},  // Left
    {0xFF53, 106},  // Right
    {0xFF52, 103},  // Up
    {0xFF54, 108},  // Down
    {0xFF63, 110},  // Insert
    {0xFFE1, 42},   // Shift_L
    {0xFFE2, 54},   // Shift_R
    {0xFFE3, 29},   // Control_L
    {0xFFE4, 97},   // Control_R
    {0xFFE9, 56},   // Alt_L
    {0xFFEA, 100},  // Alt_R
    {0xFFEB, 125},  // Super_L
    {0xFFEC, 126},  // Super_R
    {0xFFE5, 58},   // Caps_Lock
    {0xFF7F, 69},   // Num_Lock
    {0xFFC8, 87},   // F11
    {0xFFC9, 88},   // F12
};
constexpr std::uint64_t keysymF1 = 0xFFBE;  // F1 to F10 have codes in a row
constexpr std::uint32_t codeF1 = 59;

struct SignKey {
  std::uint32_t code;
  char plain;
  char shifted;
};
constexpr SignKey signKeys[] = {
    {12, '-', '_'},  {13, '=', '+'}, {26, '[', '{'}, {27, ']', '}'}, {43, '\\', '|'}, {39, ';', ':'},
    {40, '\'', '"'}, {41, '`', '~'}, {51, ',', '<'}, {52, '.', '>'}, {53, '/', '?'},
};
constexpr char shiftedDigits[] = ")!@#$%^&*(";

std::unordered_map<std::uint64_t, EvdevKey> makeTable() {
  std::unordered_map<std::uint64_t, EvdevKey> table;
  for (const Row& row : namedKeys) table[row.keysym] = {row.code, false};
  for (std::uint32_t i = 0; i < 10; ++i) {
    table[keysymF1 + i] = {codeF1 + i, false};
    table[static_cast<unsigned char>(shiftedDigits[i])] = {digitCodes[i], true};
  }
  for (const SignKey& key : signKeys) {
    table[static_cast<unsigned char>(key.plain)] = {key.code, false};
    table[static_cast<unsigned char>(key.shifted)] = {key.code, true};
  }
  return table;
}

}  // namespace

std::optional<EvdevKey> findEvdevKey(std::uint64_t keysym) {
  if (keysym >= 'a' && keysym <= 'z') return EvdevKey{letterCodes[keysym - 'a'], false};
  if (keysym >= 'A' && keysym <= 'Z') return EvdevKey{letterCodes[keysym - 'A'], true};
  if (keysym >= '0' && keysym <= '9') return EvdevKey{digitCodes[keysym - '0'], false};
  static const std::unordered_map<std::uint64_t, EvdevKey> table = makeTable();
  const auto row = table.find(keysym);
  return row != table.end() ? std::optional(row->second) : std::nullopt;
}

std::uint32_t keysymToEvdev(std::uint64_t keysym) { return findEvdevKey(keysym).value_or(EvdevKey{}).code; }

}  // namespace ostler
