#include <cmath>

#include <linux/input-event-codes.h>

#include "backend/waits.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

double clampTo(double limit, double coordinate) {
  if (coordinate > limit) return limit;
  return coordinate > 0.0 ? coordinate : 0.0;  // NaN becomes 0 as well
}

std::int32_t rounded(double coordinate) { return static_cast<std::int32_t>(std::lround(coordinate)); }

}  // namespace

std::uint32_t buttonCode(Button button) {
  switch (button) {
    case Button::right:
      return BTN_RIGHT;
    case Button::middle:
      return BTN_MIDDLE;
    case Button::left:
      break;
  }
  return BTN_LEFT;
}

void WaylandBackend::mouseMove(double x, double y) {
  eis.beginOperation();
  dragTo(x, y);
}

void WaylandBackend::dragTo(double x, double y) {
  const Size limits = display();
  const double targetX = clampTo(limits.width, x), targetY = clampTo(limits.height, y);
  capture.setLastPointer({rounded(targetX), rounded(targetY)});
  send(
      InputKind::pointer, [&] { eis.moveTo(targetX, targetY); },
      [&] { portalInput.moveTo(targetX, targetY); });
}

void WaylandBackend::sendButton(Button button, bool pressed) {
  const std::uint32_t code = buttonCode(button);
  const auto throughEis = [&] { eis.button(code, pressed); };
  const auto throughPortal = [&] { portalInput.button(code, pressed); };
  send(InputKind::button, throughEis, throughPortal);
}

void WaylandBackend::scroll(double x, double y, int dx, int dy) {
  mouseMove(x, y);
  sleepFor(waits::afterMove);
  // A positive dy scrolls up here, while on X11 it scrolls down.
  turnWheel(dx, -static_cast<std::int64_t>(dy));
}

void WaylandBackend::turnWheel(std::int64_t right, std::int64_t down) {
  const auto throughEis = [&] { eis.scroll(right, down); };
  const auto throughPortal = [&] { portalInput.scroll(right, down); };
  send(InputKind::scroll, throughEis, throughPortal);
}

}  // namespace ostler
