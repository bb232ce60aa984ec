#include <algorithm>
#include <optional>
#include <stdexcept>

#include <X11/XKBlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include "backend/escape_flags.h"
#include "backend/waits.h"
#include "base/sleep.h"
#include "keys/text.h"
#include "keys/typed_keysym.h"
#include "x11/temporary_key_mapping.h"
#include "x11/x11_backend.h"

namespace ostler {
namespace {

struct MappedKey {
  KeyCode keycode;
  bool needsShift;
};

unsigned activeGroup(Display* display) {
  XkbStateRec state{};
  XkbGetState(display, XkbUseCoreKbd, &state);
  return state.group;
}

// Finds the key that produces a keysym in the first group, with or without Shift. The keysym may
// also be in column 2 or later, which belongs to another group or level. An even column counts as
// unshifted, an odd one as shifted, and no other modifier is pressed.
std::optional<MappedKey> findInFirstGroup(Display* display, KeySym keysym) {
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

// The core keyboard map does not distinguish groups from levels, so this searches with the XKB
// function by which clients interpret a key. For a key with fewer groups that function wraps the
// group number.
std::optional<MappedKey> findInGroup(Display* display, KeySym keysym, unsigned group) {
  int minKeycode = 0, maxKeycode = 0;
  XDisplayKeycodes(display, &minKeycode, &maxKeycode);
  for (const unsigned modifier : {0, ShiftMask}) {
    const unsigned state = XkbBuildCoreState(modifier, group);
    for (int code = minKeycode; code <= maxKeycode; ++code) {
      const auto keycode = static_cast<KeyCode>(code);
      unsigned usedModifiers = 0;
      KeySym produced = NoSymbol;
      XkbLookupKeySym(display, keycode, state, &usedModifiers, &produced);
      if (produced == keysym) return MappedKey{keycode, modifier != 0};
    }
  }
  return std::nullopt;
}

std::optional<MappedKey> findMappedKey(Display* display, KeySym keysym, unsigned group) {
  return group == XkbGroup1Index ? findInFirstGroup(display, keysym) : findInGroup(display, keysym, group);
}

// When a letter is the only keysym of a key, the server adds the other case and puts the lower case
// first. It does not do this for Unicode keysyms.
KeySym withoutCase(KeySym keysym) { return keysym <= XK_asciitilde ? unicodeKeysymBase | keysym : keysym; }

}  // namespace

void X11Backend::type(const std::string& text) {
  const KeyCode shift = XKeysymToKeycode(xDisplay, XK_Shift_L);
  if (shift == 0) throw std::runtime_error("Unable to resolve X11 keycode for: Shift");
  const unsigned group = activeGroup(xDisplay);
  for (const std::uint32_t codePoint : decodeUtf8(text)) {
    if (escapePressed) return;
    if (const auto keysym = typedKeysym(codePoint)) typeKeysym(*keysym, shift, group);
  }
}

void X11Backend::typeKeysym(KeySym keysym, KeyCode shiftKeycode, unsigned group) {
  std::optional<TemporaryKeyMapping> spare;
  if (const std::optional<MappedKey> key = findMappedKey(xDisplay, keysym, group)) {
    tap(key->keycode, key->needsShift ? shiftKeycode : 0);
  } else {
    spare.emplace(xDisplay, group == XkbGroup1Index ? keysym : withoutCase(keysym));
    tap(spare->keycode(), 0);
  }
  // The spare keycode stays mapped during the wait, because a client looks up the keysym when it
  // handles the event.
  sleepFor(waits::afterCharacter);
}

void X11Backend::tap(KeyCode keycode, KeyCode shiftKeycode) {
  if (shiftKeycode != 0) XTestFakeKeyEvent(xDisplay, shiftKeycode, True, 0);
  XTestFakeKeyEvent(xDisplay, keycode, True, 0);
  XTestFakeKeyEvent(xDisplay, keycode, False, 0);
  if (shiftKeycode != 0) XTestFakeKeyEvent(xDisplay, shiftKeycode, False, 0);
  XSync(xDisplay, False);
}

}  // namespace ostler
