#pragma once

#include <cstdint>
#include <optional>

#include "backend/pointing_backend.h"
#include "image/capture.h"
#include "keys/combo.h"
#include "x11/xlib_handles.h"

namespace ostler {

unsigned buttonNumber(Button button);

// Sends input to an X server through XTEST. One thread at a time may call it. Protocol errors and
// the loss of the server are left to Xlib's default handlers.
class X11Backend : public PointingBackend {
public:
  X11Backend();

  void mouseMove(double x, double y) override;
  void type(const std::string& text) override;
  void key(const std::string& combo) override;
  void scroll(double x, double y, int dx, int dy) override;
  Point cursorPosition() override;
  Size display() override;
  std::vector<unsigned char> screenshot(Size target, Rect crop, double quality) override;

protected:
  void sendButton(Button button, bool pressed) override;
  void sendMotion(double x, double y) override;
  // A wheel step is a click of `button`.
  virtual void turnWheel(unsigned button, std::int64_t steps);
  // Presses and releases a key, with Shift held meanwhile unless `shiftKeycode` is 0.
  virtual void tap(KeyCode keycode, KeyCode shiftKeycode);
  // Presses and releases the keys of a combo, which are keycodes.
  virtual void tapCombo(const KeyCombo& keys);
  // Resolves the parts of a combo to keycodes; throws when there is none for a part.
  virtual std::optional<KeyCombo> resolveCombo(const std::string& combo);
  void sendKey(KeyCode keycode, bool pressed);

  const DisplayConnection connection;
  Display* const xDisplay;
  const Window rootWindow;

private:
  void typeKeysym(KeySym keysym, KeyCode shiftKeycode, unsigned group);
};

}  // namespace ostler
