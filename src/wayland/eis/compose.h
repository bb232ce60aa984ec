#pragma once

#include <cstdint>
#include <unordered_map>
#include <vector>

#include "wayland/eis/evdev_keys.h"
#include "wayland/lazy/xkbcommon.h"

namespace ostler {

// A dead key and the key after it, which together produce a character.
struct DeadKeySequence {
  EvdevKey deadKey;
  EvdevKey base;
};

// A keysym and the key that produces it.
struct ProducedKeysym {
  xkb_keysym_t keysym;
  EvdevKey key;
};

// The sequence for each character, which is given as a code point.
using DeadKeySequences = std::unordered_map<std::uint32_t, DeadKeySequence>;

// Finds what the dead keys among `keys` produce together with the others, by libxkbcommon's compose
// table. Of several sequences for a character the one with the fewest modifiers is taken. Without
// the table there are none.
DeadKeySequences findDeadKeySequences(xkb_context* context, const std::vector<ProducedKeysym>& keys);

}  // namespace ostler
