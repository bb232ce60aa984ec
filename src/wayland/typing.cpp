#include <linux/input-event-codes.h>

#include "backend/escape_flags.h"
#include "backend/waits.h"
#include "keys/text.h"
#include "keys/typed_keysym.h"
#include "wayland/portal/portal_call.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

// The key of an ASCII character that typedKeysym() gives in the Unicode form.
// Beyond ASCII a code point would be taken for the keysym of another key.
std::optional<EvdevKey> findAsciiKey(std::uint32_t codePoint) {
  return codePoint < 0x80 ? findEvdevKey(codePoint) : std::nullopt;
}

}  // namespace

void WaylandBackend::type(const std::string& text) {
  eis.beginOperation();
  for (const std::uint32_t codePoint : decodeUtf8(text)) {
    if (escapePressed) return;
    const auto keysym = typedKeysym(codePoint);
    if (!keysym) continue;
    typeCodePoint(codePoint, *keysym);
    sleepFor(waits::afterCharacter);
  }
}

void WaylandBackend::typeCodePoint(std::uint32_t codePoint, std::uint64_t keysym) {
  const bool hasEis = eis.hasKeyboard();
  if (const auto key = hasEis ? findEvdevKey(keysym) : std::nullopt) {
    tap(*key);
    return;
  }
  const auto asciiKey = hasEis ? findAsciiKey(codePoint) : std::nullopt;
  if (asciiKey && portalRefusesKeyboard) {
    portalInput.requireKeyboard();
    tap(*asciiKey);
    return;
  }
  try {
    portalInput.key(keysym, true);
  } catch (const PortalInputRefusal&) {
    if (!asciiKey) throw;
    portalRefusesKeyboard = true;
    tap(*asciiKey);
    return;
  }
  portalInput.key(keysym, false);
}

void WaylandBackend::tap(EvdevKey key) {
  if (key.shift) eis.key(KEY_LEFTSHIFT, true);
  eis.key(key.code, true);
  eis.key(key.code, false);
  if (key.shift) eis.key(KEY_LEFTSHIFT, false);
}

}  // namespace ostler
