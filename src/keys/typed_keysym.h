#pragma once

#include <cstdint>
#include <optional>

namespace ostler {

// The X keysym that types a code point: the key's own for letters, digits and
// the editing keys, the Unicode form for the rest. Nothing above 0x10FFFF.
std::optional<std::uint64_t> typedKeysym(std::uint32_t codePoint);

}  // namespace ostler
