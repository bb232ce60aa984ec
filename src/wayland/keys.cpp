#include "keys/combo.h"
#include "wayland/portal_call.h"
#include "wayland/wayland_backend.h"

namespace ostler {

void WaylandBackend::requireKeyboard() const {
  constexpr std::uint32_t keyboardDevice = 1;
  requirePortalDevice(portal.grantedDevices, keyboardDevice, "keyboard keysym");
}

void WaylandBackend::notifyKeysym(std::uint64_t keysym, bool pressed) {
  requireKeyboard();
  portalInputCall(portal.connection.get(), "NotifyKeyboardKeysym",
                  g_variant_new("(oa{sv}iu)", portal.sessionHandle.c_str(), nullptr,
                                static_cast<gint32>(keysym), static_cast<guint32>(pressed)));
}

void WaylandBackend::key(const std::string& combo) {
  const auto itself = [](std::uint64_t keysym, const std::string&) { return keysym; };
  const std::optional<KeyCombo> keys = resolveKeyCombo(combo, "Wayland", itself);
  if (!keys) return;

  eis.beginOperation();
  tapKeyCombo(*keys, [this](std::uint64_t keysym, bool pressed) {
    if (!eis.hasKeyboard()) {
      notifyKeysym(keysym, pressed);
    } else if (const std::uint32_t code = keysymToEvdev(keysym)) {
      eis.key(code, pressed);
    }
  });
}

}  // namespace ostler
