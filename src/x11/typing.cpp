#include <algorithm>
#include <optional>
#include <stdexcept>

#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include "driver/escape_flags.h"
#include "driver/sleep.h"
#include "driver/typed_keysym.h"
#include "keys/text.h"
#include "x11/temporary_key_mapping.h"
#include "x11/x11_backend.h"

namespace ostler {
namespace {

struct MappedKey {
  KeyCode keycode;
  bool needsShift;
};

// The key that produces a keysym with Shift at most. Column 2 and up belong to
// other groups and levels, whose modifiers are not applied, yet an even one
// counts as unshifted.
std::optional<MappedKey> findMappedKey(Display* display, KeySym keysym) {
  const KeyCode keycode = XKeysymToKeycode(display, keysym);
  if (keycode == 0) return std::nullopt;
  int keysymsPerKeycode = 0;
  const XData<KeySym> row(XGetKeyboardMapping(display, keycode, 1, &keysymsPerKeycode));
  if (row == nullptr) return std::nullopt;
  const KeySym* end = row.get() + keysymsPerKeycode;
  const KeySym* column = std::find<const KeySym*>(row.get(), end, keysym);
  if (column == end) return std::nullopt;
  return MappedKey{keycode, (column - row.get()) % 2 == 1};
}

}  // namespace

void X11Backend::type(const std::string& text) {
  const KeyCode shift = XKeysymToKeycode(xDisplay, XK_Shift_L);
  if (shift == 0) throw std::runtime_error("Unable to resolve X11 keycode for: Shift");
  for (const std::uint32_t codePoint : decodeUtf8(text)) {
    if (escapePressed) return;
    if (const auto keysym = typedKeysym(codePoint)) typeKeysym(*keysym, shift);
  }
}

void X11Backend::typeKeysym(KeySym keysym, KeyCode shiftKeycode) {
  std::optional<TemporaryKeyMapping> spare;
  if (const std::optional<MappedKey> key = findMappedKey(xDisplay, keysym)) {
    tap(key->keycode, key->needsShift ? shiftKeycode : 0);
  } else {
    spare.emplace(xDisplay, keysym);
    tap(spare->keycode, 0);
  }
  // The spare key keeps its symbol meanwhile: a client looks it up when it
  // handles the event.
  sleepFor(waits::afterCharacter);
}

// Taps a key, with Shift held around it unless `shiftKeycode` is 0.
void X11Backend::tap(KeyCode keycode, KeyCode shiftKeycode) {
  if (shiftKeycode != 0) XTestFakeKeyEvent(xDisplay, shiftKeycode, True, 0);
  XTestFakeKeyEvent(xDisplay, keycode, True, 0);
  XTestFakeKeyEvent(xDisplay, keycode, False, 0);
  if (shiftKeycode != 0) XTestFakeKeyEvent(xDisplay, shiftKeycode, False, 0);
  XSync(xDisplay, False);
}

}  // namespace ostler
