#include <chrono>

#include "backend/escape_flags.h"
#include "backend/interruption.h"
#include "backend/waits.h"
#include "base/sleep.h"
#include "keys/text.h"
#include "keys/typed_keysym.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

constexpr std::chrono::milliseconds beforeDeadKey{50};

}  // namespace

void WaylandBackend::type(const std::string& text) {
  beginOperation();
  for (const std::uint32_t codePoint : decodeUtf8(text)) {
    if (escapePressed) return;
    const auto keysym = typedKeysym(codePoint);
    if (!keysym) continue;
    send(InputKind::keyboard, [&](auto& to) { typeKeysym(to, *keysym); });
    sleepFor(waits::afterCharacter);
  }
  requireKeysProcessed();
}

void WaylandBackend::typeKeysym(EisInput& to, std::uint64_t keysym) {
  const auto key = to.findKey(keysym);
  const auto sequence = key ? std::nullopt : to.findSequence(keysym);
  const bool hasKeys = key || sequence;
  // Letters, digits, the space and the editing keys are plain: typedKeysym() gives them the keysyms
  // in this table. The portal types all else if it can.
  const bool isPlain = key && findEvdevKey(keysym);
  if (hasKeys && portalRefusesKeyboard && !isPlain) portalInput.requireKeyboard();
  if (!isPlain && !(hasKeys && portalRefusesKeyboard)) {
    // The portal also gets a character that no keys produce; the host then receives its error.
    const auto sendToPortal = [&] { typeKeysym(portalInput, keysym); };
    if (tryPortal(InputKind::keyboard, sendToPortal, [&] { return hasKeys; })) return;
  }
  key ? tap(to, *key) : tap(to, *sequence, beforeDeadKey);
}

void WaylandBackend::typeKeysym(const PortalInput& to, std::uint64_t keysym) {
  to.key(keysym, true);
  to.key(keysym, false);
}

void WaylandBackend::tap(EisInput& to, const EvdevKey& key) {
  press(to, key);
  release(to, key);
}

// Qt 6 lets a composed character overtake the keys that it reads together with it, so the dead key
// has to wait until those have been read.
void WaylandBackend::tap(EisInput& to, const DeadKeySequence& sequence, std::chrono::milliseconds pause) {
  sleepFor(pause);
  // A dead key alone would change the next character that the user types.
  const Uninterrupted both;
  tap(to, sequence.deadKey);
  tap(to, sequence.base);
}

}  // namespace ostler
