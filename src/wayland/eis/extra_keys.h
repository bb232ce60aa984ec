#pragma once

#include <cstdint>
#include <optional>

#include "wayland/eis/evdev_keys.h"

namespace ostler {

// Finds keys of the keypad, Print, F13 to F24 and the like. These are not in the table of
// findEvdevKey(), where text is looked up too: U+FFB1 is not the key with the keysym XK_KP_1
// (0xFFB1).
std::optional<EvdevKey> findExtraKey(std::uint64_t keysym);

}  // namespace ostler
