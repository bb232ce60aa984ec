#pragma once

#include <cstdint>

namespace ostler {

// Returns the evdev code of a key of the keypad, Print, or one of F13 to F24 and the like, or 0. These
// are not in the table of findEvdevKey(), where text is looked up too: U+FFB1 is not the key with
// the keysym XK_KP_1 (0xFFB1).
std::uint32_t moreEvdevCodes(std::uint64_t keysym);

}  // namespace ostler
