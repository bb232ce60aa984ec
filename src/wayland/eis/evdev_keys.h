#pragma once

#include <cstdint>
#include <optional>

namespace ostler {

// A key by its Linux evdev code, and the modifiers that are held with it.
struct EvdevKey {
  std::uint32_t code = 0;
  bool shift = false;
  std::uint32_t altGr = 0;  // the code of the AltGr key, 0 when that is not held
};

// The key that carries an X keysym on a US layout, with Shift or without.
std::optional<EvdevKey> findEvdevKey(std::uint64_t keysym);

// Like findEvdevKey(), but also accepts the Unicode form of an ASCII character.
std::optional<EvdevKey> findUsKey(std::uint64_t keysym);

}  // namespace ostler
