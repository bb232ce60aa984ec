#pragma once

#include "driver/backend.h"
#include "x11/xlib_handles.h"

namespace ostler {

// Drives an X server through XTEST. The connection belongs to the thread that
// calls; protocol errors and a lost server take Xlib's default path.
class X11Backend : public Backend {
public:
  X11Backend();

  void mouseMove(double x, double y) override;
  void click(double x, double y, const std::string& button, int count) override;
  void drag(double fromX, double fromY, double toX, double toY) override;
  void mouseDown(double x, double y) override;
  void mouseUp(double x, double y) override;
  void type(const std::string& text) override;
  void key(const std::string& combo) override;
  void scroll(double x, double y, int dx, int dy) override;
  Point cursorPosition() override;
  Size display() override;
  std::vector<unsigned char> screenshot(Size target, Rect crop, double quality) override;

private:
  void pressButton(unsigned button);
  void releaseButton(unsigned button);
  void turnWheel(unsigned button, int clicks);
  void typeKeysym(KeySym keysym, KeyCode shiftKeycode);
  void tap(KeyCode keycode, KeyCode shiftKeycode);

  const DisplayConnection connection;
  Display* const xDisplay;
  const Window rootWindow;
};

}  // namespace ostler
