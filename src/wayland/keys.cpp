#include <algorithm>
#include <stdexcept>

#include <X11/keysym.h>
#include <linux/input-event-codes.h>

#include "keys/combo.h"
#include "wayland/wayland_backend.h"

namespace ostler {

std::optional<KeyCombo> WaylandBackend::resolveCombo(const std::string& combo) {
  const auto itself = [](std::uint64_t keysym, const std::string&) { return keysym; };
  return resolveKeyCombo(combo, "Wayland", itself);
}

void WaylandBackend::key(const std::string& combo) {
  const std::optional<KeyCombo> keys = resolveCombo(combo);
  if (!keys) return;

  beginOperation();
  send(InputKind::keyboard, [&](auto& to) { tapCombo(to, *keys); });
  requireKeysProcessed();
}

// When the list of layouts changes, GNOME 51 removes the keyboard and is busy with the keymap for a
// moment. It drops the keys that were sent meanwhile, without an error.
void WaylandBackend::requireNoLostKeys() const {
  if (eis.mayHaveLostKeys())
    throw std::runtime_error("The Wayland keyboard was replaced while keys were sent.");
}

void WaylandBackend::requireKeysProcessed() {
  eis.awaitKeyReport();
  requireNoLostKeys();
}

void WaylandBackend::tapCombo(const PortalInput& to, const KeyCombo& keys) {
  tapKeyCombo(keys, [&](std::uint64_t keysym, bool pressed) { to.key(keysym, pressed); });
}

void WaylandBackend::tapCombo(EisInput& to, const KeyCombo& keys) {
  const bool shiftHeld = std::find(keys.held.begin(), keys.held.end(), XK_Shift_L) != keys.held.end();
  tapKeyCombo(keys, [&](std::uint64_t keysym, bool pressed) {
    auto key = findComboKey(keysym);
    if (!key) return;
    if (shiftHeld) key->shift = false;
    pressed ? press(to, *key) : release(to, *key);
  });
}

std::optional<EvdevKey> WaylandBackend::findComboKey(std::uint64_t keysym) {
  if (const auto key = eis.findKey(keysym)) return key;
  // If the layout lacks the letter, programs expect shortcuts such as Ctrl+C on the key of a US
  // keyboard.
  const auto usKey = findEvdevKey(keysym);
  return usKey ? std::optional(EvdevKey{.code = usKey->code}) : std::nullopt;
}

void WaylandBackend::sendKey(EisInput& to, std::uint32_t code, bool pressed) { to.key(code, pressed); }

void WaylandBackend::press(EisInput& to, const EvdevKey& key) {
  // On some layouts AltGr is another key while Shift is held, so AltGr is pressed first.
  if (key.altGr != 0) sendKey(to, key.altGr, true);
  if (key.shift) sendKey(to, KEY_LEFTSHIFT, true);
  sendKey(to, key.code, true);
}

void WaylandBackend::release(EisInput& to, const EvdevKey& key) {
  sendKey(to, key.code, false);
  if (key.shift) sendKey(to, KEY_LEFTSHIFT, false);
  if (key.altGr != 0) sendKey(to, key.altGr, false);
}

}  // namespace ostler
