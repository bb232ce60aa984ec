#include "keys/typed_keysym.h"

#include <cctype>

#include <X11/keysym.h>

namespace ostler {

std::optional<std::uint64_t> typedKeysym(std::uint32_t codePoint) {
  switch (codePoint) {
    case '\b':
      return XK_BackSpace;
    case '\t':
      return XK_Tab;
    case '\n':
    case '\r':
      return XK_Return;
    case ' ':
      return XK_space;
    default:
      break;
  }
  if (codePoint > lastCodePoint) return std::nullopt;
  // The named keysym of a letter or digit is its code.
  if (codePoint < 0x80 && std::isalnum(static_cast<int>(codePoint)) != 0) return codePoint;
  return unicodeKeysymBase | codePoint;
}

}  // namespace ostler
