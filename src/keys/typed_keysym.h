#pragma once

#include <cstdint>
#include <optional>

namespace ostler {

// The keysym of a Unicode character without a named keysym is this plus the code point.
constexpr std::uint64_t unicodeKeysymBase = 0x01000000;
constexpr std::uint32_t lastCodePoint = 0x10FFFF;

// Returns the X keysym that types a code point: a named keysym for printable ASCII
// characters, backspace, tab and line ends, a Unicode keysym for all others, and nothing
// above lastCodePoint.
std::optional<std::uint64_t> typedKeysym(std::uint32_t codePoint);

}  // namespace ostler
