#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

#include "wayland/eis/eis_channel.h"
#include "wayland/eis/evdev_keys.h"
#include "wayland/eis/keymap.h"

namespace ostler {

// Which key of the compositor's keyboard gives a keysym, by the layout in use.
class KeyboardLayout {
public:
  // `askGroup` asks the desktop which of a keymap's groups is in use.
  explicit KeyboardLayout(std::function<std::size_t()> askDesktop) : askGroup(std::move(askDesktop)) {}

  // The user may have switched layouts.
  void expectSwitch() { askedGroup.reset(); }
  // Without a keymap the key is that of a US keyboard.
  std::optional<EvdevKey> find(std::uint64_t keysym, ei_device* keyboard,
                               std::optional<std::uint32_t> announcedGroup);

private:
  const std::function<std::size_t()> askGroup;
  EiDevice keyboardRead;  // whose keymap it is
  std::unique_ptr<const Keymap> keymap;
  std::optional<std::size_t> askedGroup;
};

}  // namespace ostler
