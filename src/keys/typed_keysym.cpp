#include "keys/typed_keysym.h"

#include <cctype>

#include <X11/Xlib.h>

namespace ostler {

std::optional<std::uint64_t> typedKeysym(std::uint32_t codePoint) {
  constexpr std::uint64_t unicodeForm = 0x01000000;
  switch (codePoint) {
    case 8:
      return 0xFF08;  // BackSpace
    case 9:
      return 0xFF09;  // Tab
    case 10:
    case 13:
      return 0xFF0D;  // Return
    case 32:
      return 0x0020;
    default:
      break;
  }
  if (codePoint > 0x10FFFF) return std::nullopt;
  if (codePoint < 0x80 && std::isprint(static_cast<int>(codePoint)) != 0) {
    const char name[] = {static_cast<char>(codePoint), '\0'};
    if (const KeySym keysym = XStringToKeysym(name); keysym != NoSymbol) return keysym;
  }
  return unicodeForm | codePoint;
}

}  // namespace ostler
