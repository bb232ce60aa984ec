#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>
#include <vector>

#include "base/owner.h"
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

// libxkbcommon's compose table, which says what a client makes of the keysyms it receives. Without the
// table nothing is composed.
class Composer {
public:
  explicit Composer(xkb_context* context);

  // Whether clients type something else for a keysym than its own character, as they do for the
  // Arabic ligatures that a single key produces.
  bool replaces(xkb_keysym_t keysym) const;
  // Finds what the dead keys among `keys` produce together with the others. Of several sequences
  // for a character the one with the fewest modifiers is taken.
  DeadKeySequences findSequences(const std::vector<ProducedKeysym>& keys) const;

private:
  std::optional<std::uint32_t> compose(xkb_keysym_t deadKey, xkb_keysym_t base) const;

  Owner<xkb_compose_table, xkb_compose_table_unref> table;
  Owner<xkb_compose_state, xkb_compose_state_unref> state;
};

}  // namespace ostler
