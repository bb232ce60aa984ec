#pragma once

#include <cstdint>
#include <optional>

namespace ostler {

// The keysym of a Unicode character without a named keysym is this plus the code point.
constexpr std::uint64_t unicodeKeysymBase = 0x01000000;
constexpr std::uint32_t lastCodePoint = 0x10FFFF;

// Returns the X keysym that types a code point: a named keysym for ASCII letters and digits, the
// space, backspace, tab and line ends, a Unicode keysym for all others, punctuation included, and
// nothing above lastCodePoint. WaylandBackend::type() relies on this choice: it sends what has a
// named keysym through EIS, and offers all others to the portal first.
std::optional<std::uint64_t> typedKeysym(std::uint32_t codePoint);

}  // namespace ostler
