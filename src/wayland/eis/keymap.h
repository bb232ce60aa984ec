#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "wayland/eis/evdev_keys.h"

namespace ostler {

// Which key gives a keysym, by the XKB keymap of a keyboard.
class Keymap {
public:
  // Null when the text is no keymap or libxkbcommon is missing.
  static std::unique_ptr<const Keymap> parse(const std::string& text);

  // A keymap has a group for each layout that the user can switch to.
  std::size_t groups() const { return keysOfGroup.size(); }
  // The key that gives the keysym at once, with Shift and AltGr at the most: the
  // one of a US keyboard where that does, otherwise the one with the fewest
  // modifiers. A dead key does not count. A group that does not exist is the first.
  std::optional<EvdevKey> find(std::uint64_t keysym, std::size_t group) const;

private:
  using Keys = std::unordered_map<std::uint64_t, EvdevKey>;

  std::vector<Keys> keysOfGroup;
};

}  // namespace ostler
