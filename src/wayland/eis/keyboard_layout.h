#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "wayland/eis/compose.h"
#include "wayland/eis/eis_channel.h"
#include "wayland/eis/evdev_keys.h"
#include "wayland/eis/keymap.h"

namespace ostler {

// Finds the key of the compositor's keyboard that produces a keysym in the active layout.
class KeyboardLayout {
public:
  // `askGroup` asks the desktop which group of a keymap is active.
  explicit KeyboardLayout(std::function<std::size_t()> askDesktop) : askGroup(std::move(askDesktop)) {}

  // Call this whenever the user may have switched layouts.
  void expectSwitch() { askedGroup.reset(); }
  // Without a keymap the key is that of a US keyboard.
  std::optional<EvdevKey> find(std::uint64_t keysym, ei_device* keyboard,
                               std::optional<std::uint32_t> announcedGroup);
  // Like find(), for a character that needs a dead key. There is none without a keymap.
  std::optional<DeadKeySequence> findSequence(std::uint64_t keysym, ei_device* keyboard,
                                              std::optional<std::uint32_t> announcedGroup);

private:
  void update(ei_device* keyboard);
  std::size_t activeGroup(std::optional<std::uint32_t> announcedGroup);

  const std::function<std::size_t()> askGroup;
  EiDevice keyboardRead;  // the keyboard of `keymap`
  std::unique_ptr<const Keymap> keymap;
  std::optional<std::size_t> askedGroup;
};

}  // namespace ostler
