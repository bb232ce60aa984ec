#pragma once

#include "backend/pointing_backend.h"
#include "x11/xlib_handles.h"

namespace ostler {

// Sends input to an X server through XTEST. One thread at a time may call it.
// Protocol errors and the loss of the server are left to Xlib's default handlers.
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

private:
  void sendButton(Button button, bool pressed) override;
  void dragTo(double x, double y) override;
  void turnWheel(unsigned button, int clicks);
  void typeKeysym(KeySym keysym, KeyCode shiftKeycode, unsigned group);
  void tap(KeyCode keycode, KeyCode shiftKeycode);

  const DisplayConnection connection;
  Display* const xDisplay;
  const Window rootWindow;
};

}  // namespace ostler
