#include "keys/combo.h"
#include "wayland/eis/evdev_keys.h"
#include "wayland/wayland_backend.h"

namespace ostler {

void WaylandBackend::key(const std::string& combo) {
  const auto itself = [](std::uint64_t keysym, const std::string&) { return keysym; };
  const std::optional<KeyCombo> keys = resolveKeyCombo(combo, "Wayland", itself);
  if (!keys) return;

  eis.beginOperation();
  tapKeyCombo(*keys, [this](std::uint64_t keysym, bool pressed) {
    if (!eis.hasKeyboard()) {
      portalInput.key(keysym, pressed);
    } else if (const std::uint32_t code = keysymToEvdev(keysym)) {
      eis.key(code, pressed);
    }
  });
}

}  // namespace ostler
