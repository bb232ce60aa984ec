#pragma once

#include <cstdint>
#include <optional>

namespace ostler {

// A key of a US keyboard by its Linux evdev code, and whether Shift is held
// for the character in question.
struct EvdevKey {
  std::uint32_t code = 0;
  bool shift = false;
};

// The key that carries an X keysym on a US layout, with Shift or without.
std::optional<EvdevKey> findEvdevKey(std::uint64_t keysym);

// The code of that key, 0 when there is none.
std::uint32_t keysymToEvdev(std::uint64_t keysym);

}  // namespace ostler
