#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "wayland/eis/compose.h"
#include "wayland/eis/evdev_keys.h"

namespace ostler {

// Finds the key that produces a keysym, from the XKB keymap of a keyboard.
class Keymap {
public:
  // Returns null if the text is not a keymap or libxkbcommon is missing.
  static std::unique_ptr<const Keymap> parse(const std::string& text);

  // A keymap has a group for each layout that the user can switch to.
  std::size_t groups() const { return allGroups.size(); }
  // The key that produces the keysym by itself or with Shift, AltGr or both: the key of a US
  // keyboard if that one does, otherwise the one with the fewest modifiers. Dead keys are not used.
  // A group that does not exist counts as the first.
  std::optional<EvdevKey> find(std::uint64_t keysym, std::size_t group) const;
  // Like find(), but for a character that no key produces: the dead key and the key after it that
  // do.
  std::optional<DeadKeySequence> findSequence(std::uint64_t keysym, std::size_t group) const;

private:
  struct Group {
    std::unordered_map<std::uint64_t, EvdevKey> keys;  // by the unified keysym
    DeadKeySequences sequences;
  };

  const Group* findGroup(std::size_t number) const;

  std::vector<Group> allGroups;
};

}  // namespace ostler
