#include "backend/escape_flags.h"
#include "backend/interruption.h"
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
  const auto sequence = key ? std::nullopt : eis.findSequence(keysym);
  const auto tapKeys = [&] { key ? tap(*key) : tap(*sequence, waits::beforeDeadKey); };
  const bool isTypable = key || sequence;
  // Letters, digits, the space and the editing keys are plain. The portal types
  // all else if it can.
  const bool isPlain = key && findEvdevKey(keysym);
  if (isTypable && portalRefusesKeyboard && !isPlain) portalInput.requireKeyboard();
  if (isPlain || (isTypable && portalRefusesKeyboard)) {
    tapKeys();
    return;
  }
  // The portal also gets a character that no keys produce; the host then
  // receives its error.
  try {
    typeThroughPortal(keysym);
  } catch (const PortalInputRefusal&) {
    if (!isTypable) throw;
    portalRefusesKeyboard = true;
    tapKeys();
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

// Qt 6 lets a composed character overtake the keys that it reads together with
// it, so the dead key has to wait until those have been read.
void WaylandBackend::tap(const DeadKeySequence& sequence, std::chrono::milliseconds pause) {
  sleepFor(pause);
  // A dead key alone would change the next character that the user types.
  const Uninterrupted both;
  tap(sequence.deadKey);
  tap(sequence.base);
}

}  // namespace ostler
