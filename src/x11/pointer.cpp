#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>

#include <X11/extensions/XTest.h>

#include "backend/waits.h"
#include "base/sleep.h"
#include "x11/x11_backend.h"

namespace ostler {
namespace {

int toPixel(double coordinate) { return static_cast<int>(std::lround(coordinate)); }

}  // namespace

unsigned buttonNumber(Button button) {
  switch (button) {
    case Button::middle:
      return Button2;
    case Button::right:
      return Button3;
    case Button::left:
      break;
  }
  return Button1;
}

void X11Backend::sendButton(Button button, bool pressed) {
  XTestFakeButtonEvent(xDisplay, buttonNumber(button), pressed ? True : False, 0);
  XSync(xDisplay, False);
}

void X11Backend::mouseMove(double x, double y) {
  XWarpPointer(xDisplay, None, rootWindow, 0, 0, 0, 0, toPixel(x), toPixel(y));
  XSync(xDisplay, False);
}

void X11Backend::sendMotion(double x, double y) {
  constexpr int screenOfPointer = -1;  // as XTestFakeMotionEvent defines it
  XTestFakeMotionEvent(xDisplay, screenOfPointer, toPixel(x), toPixel(y), 0);
  XSync(xDisplay, False);
}

void X11Backend::turnWheel(unsigned button, std::int64_t steps) {
  for (std::int64_t left = steps; left > 0; --left) {
    XTestFakeButtonEvent(xDisplay, button, True, 0);
    XTestFakeButtonEvent(xDisplay, button, False, 0);
  }
}

void X11Backend::scroll(double x, double y, int dx, int dy) {
  constexpr unsigned up = Button4, down = Button5, left = 6, right = 7;
  mouseMove(x, y);
  sleepFor(waits::afterMove);
  turnWheel(dx < 0 ? left : right, std::abs(std::int64_t{dx}));
  turnWheel(dy < 0 ? up : down, std::abs(std::int64_t{dy}));
  XSync(xDisplay, False);
}

Point X11Backend::cursorPosition() {
  Window root = 0, child = 0;
  int rootX = 0, rootY = 0, windowX = 0, windowY = 0;
  unsigned mask = 0;
  XQueryPointer(xDisplay, rootWindow, &root, &child, &rootX, &rootY, &windowX, &windowY, &mask);
  return {rootX, rootY};
}

Size X11Backend::display() {
  const Screen* screen = DefaultScreenOfDisplay(xDisplay);
  if (screen == nullptr) throw std::runtime_error("Unable to query the X11 display size.");
  return {WidthOfScreen(screen), HeightOfScreen(screen)};
}

}  // namespace ostler
