#include "keys/key_tables.h"

namespace ostler {

const KeysymTable keyNameTable = [] {
  KeysymTable table{
      {"return", 0xFF0D},
      {"enter", 0xFF0D},
      {"tab", 0xFF09},
      {"escape", 0xFF1B},
      {"esc", 0xFF1B},
      {"space", 0x0020},
      {"backspace", 0xFF08},
      {"delete", 0xFFFF},
      {"up", 0xFF52},
      {"down", 0xFF54},
      {"left", 0xFF51},
      {"right", 0xFF53},
      {"home", 0xFF50},
      {"end", 0xFF57},
      {"pageup", 0xFF55},
      {"pagedown", 0xFF56},
      {"insert", 0xFF63},
      {"capslock", 0xFFE5},
      {"forwarddelete", 0xFFFF},
      // "+" separates the parts of a combo, so its key goes by a word. It is
      // the key that carries "=", and no Shift is implied.
      {"minus", 0x2D},
      {"equal", 0x3D},
      {"plus", 0x3D},
  };
  for (const char sign : std::string("-=[]\\;',./`")) table.emplace(std::string(1, sign), sign);
  for (char digit = '0'; digit <= '9'; ++digit) table.emplace(std::string(1, digit), digit);
  for (char letter = 'a'; letter <= 'z'; ++letter) table.emplace(std::string(1, letter), letter);
  for (int n = 1; n <= 12; ++n) table.emplace("f" + std::to_string(n), 0xFFBE + n - 1);
  return table;
}();

const KeysymTable modifierNameTable{
    {"ctrl", 0xFFE3},  {"control", 0xFFE3}, {"shift", 0xFFE1}, {"alt", 0xFFE9},     {"option", 0xFFE9},
    {"super", 0xFFEB}, {"meta", 0xFFEB},    {"cmd", 0xFFEB},   {"command", 0xFFEB},
};

}  // namespace ostler
