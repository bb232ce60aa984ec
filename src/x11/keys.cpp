#include <optional>
#include <stdexcept>

#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include "backend/escape_flags.h"
#include "keys/combo.h"
#include "x11/x11_backend.h"

namespace ostler {
namespace {

// While this object exists, the Escape watcher treats a press of Escape as synthetic.
class SyntheticEscape {
public:
  SyntheticEscape() {
    syntheticEscapeActive.exchange(true);
    ++syntheticEscapeCount;
  }
  SyntheticEscape(const SyntheticEscape&) = delete;
  SyntheticEscape& operator=(const SyntheticEscape&) = delete;
  ~SyntheticEscape() { syntheticEscapeActive.exchange(false); }
};

bool isDown(Display* display, KeyCode keycode) {
  char keys[32] = {};
  XQueryKeymap(display, keys);
  return (keys[keycode / 8] >> (keycode % 8) & 1) != 0;
}

}  // namespace

std::optional<KeyCombo> X11Backend::resolveCombo(const std::string& combo) {
  return resolveKeyCombo(combo, "Linux/X11", [this](KeySym keysym, const std::string& part) {
    const KeyCode keycode = XKeysymToKeycode(xDisplay, keysym);
    if (keycode == 0) throw std::runtime_error("Unable to resolve X11 keycode for: " + part);
    return keycode;
  });
}

void X11Backend::key(const std::string& combo) {
  if (const std::optional<KeyCombo> keys = resolveCombo(combo)) tapCombo(*keys);
}

void X11Backend::tapCombo(const KeyCombo& keys) {
  std::optional<SyntheticEscape> synthetic;
  const KeyCode escape = XKeysymToKeycode(xDisplay, XK_Escape);
  // When the user holds Escape down, the server generates no second press, and the watcher would
  // take the user's press for the synthetic one.
  if (escape != 0 && escape == keys.main && !isDown(xDisplay, escape)) synthetic.emplace();

  tapKeyCombo(keys, [this](std::uint64_t keycode, bool pressed) {
    XTestFakeKeyEvent(xDisplay, static_cast<unsigned>(keycode), pressed ? True : False, 0);
  });
  XSync(xDisplay, False);
}

void X11Backend::sendKey(KeyCode keycode, bool pressed) {
  std::optional<SyntheticEscape> synthetic;
  if (pressed && keycode == XKeysymToKeycode(xDisplay, XK_Escape)) synthetic.emplace();
  XTestFakeKeyEvent(xDisplay, keycode, pressed ? True : False, 0);
  XSync(xDisplay, False);
}

}  // namespace ostler
