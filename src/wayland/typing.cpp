#include "backend/escape_flags.h"
#include "backend/waits.h"
#include "keys/text.h"
#include "keys/typed_keysym.h"
#include "wayland/portal/portal_call.h"
#include "wayland/wayland_backend.h"

namespace ostler {

void WaylandBackend::type(const std::string& text) {
  beginOperation();
  for (const std::uint32_t codePoint : decodeUtf8(text)) {
    if (escapePressed) return;
    const auto keysym = typedKeysym(codePoint);
    if (!keysym) continue;
    const auto throughEis = [&] { typeThroughEis(*keysym); };
    const auto throughPortal = [&] { typeThroughPortal(*keysym); };
    send(InputKind::keyboard, throughEis, throughPortal);
    sleepFor(waits::afterCharacter);
  }
  requireKeysProcessed();
}

void WaylandBackend::typeThroughEis(std::uint64_t keysym) {
  const auto key = eis.findKey(keysym);
  // Letters, digits, the space and the editing keys are plain. The portal types
  // all else if it can.
  const bool isPlain = findEvdevKey(keysym).has_value();
  if (key && portalRefusesKeyboard && !isPlain) portalInput.requireKeyboard();
  if (key && (isPlain || portalRefusesKeyboard)) {
    tap(*key);
    return;
  }
  // The portal also gets a character that no key produces; the host then
  // receives its error.
  try {
    typeThroughPortal(keysym);
  } catch (const PortalInputRefusal&) {
    if (!key) throw;
    portalRefusesKeyboard = true;
    tap(*key);
  }
}

void WaylandBackend::typeThroughPortal(std::uint64_t keysym) {
  portalInput.key(keysym, true);
  portalInput.key(keysym, false);
}

void WaylandBackend::tap(const EvdevKey& key) {
  press(key);
  release(key);
}

}  // namespace ostler
