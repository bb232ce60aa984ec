#include <algorithm>
#include <cmath>

#include "driver/sleep.h"
#include "wayland/portal_call.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

constexpr std::uint32_t pointerDevice = 2;
constexpr std::uint32_t verticalAxis = 0, horizontalAxis = 1;

std::uint32_t buttonCode(Button button) {
  switch (button) {
    case Button::right:
      return 273;
    case Button::middle:
      return 274;
    case Button::left:
      break;
  }
  return 272;
}

struct Position {
  double x;
  double y;
};

double clampTo(double limit, double coordinate) {
  if (coordinate > limit) return limit;
  return coordinate > 0.0 ? coordinate : 0.0;  // what is no number becomes 0 as well
}

std::int32_t rounded(double coordinate) { return static_cast<std::int32_t>(std::lround(coordinate)); }

}  // namespace

void WaylandBackend::mouseMove(double x, double y) {
  eis.beginOperation();
  moveTo(x, y);
}

void WaylandBackend::dragTo(double x, double y) { moveTo(x, y); }

void WaylandBackend::moveTo(double x, double y) {
  const Size limits = display();
  const Position target{clampTo(limits.width, x), clampTo(limits.height, y)};
  capture.setLastPointer({rounded(target.x), rounded(target.y)});
  if (eis.hasPointer()) {
    eis.moveTo(target.x, target.y);
    return;
  }
  requirePortalDevice(portal.grantedDevices, pointerDevice, "pointer motion");
  portalInputCall(
      portal.connection.get(), "NotifyPointerMotionAbsolute",
      g_variant_new("(oa{sv}udd)", portal.sessionHandle.c_str(), nullptr, portal.nodeId, target.x, target.y));
}

void WaylandBackend::sendButton(Button button, bool pressed) {
  const std::uint32_t code = buttonCode(button);
  if (eis.hasButton()) {
    eis.button(code, pressed);
    return;
  }
  requirePortalDevice(portal.grantedDevices, pointerDevice, "pointer button");
  portalInputCall(portal.connection.get(), "NotifyPointerButton",
                  g_variant_new("(oa{sv}iu)", portal.sessionHandle.c_str(), nullptr,
                                static_cast<gint32>(code), static_cast<guint32>(pressed)));
}

// One call a step; the sign of `steps` is the direction.
void WaylandBackend::notifyAxisSteps(std::uint32_t axis, std::int64_t steps) {
  for (std::int64_t left = std::abs(steps); left > 0; --left) {
    requirePortalDevice(portal.grantedDevices, pointerDevice, "pointer axis");
    portalInputCall(
        portal.connection.get(), "NotifyPointerAxisDiscrete",
        g_variant_new("(oa{sv}ui)", portal.sessionHandle.c_str(), nullptr, axis, steps > 0 ? 1 : -1));
  }
}

void WaylandBackend::scroll(double x, double y, int dx, int dy) {
  mouseMove(x, y);
  sleepFor(waits::afterMove);
  // A positive dy scrolls up here, while on X11 it scrolls down.
  const std::int64_t inverted = -static_cast<std::int64_t>(dy);
  if (eis.hasScroll()) {
    if (dx != 0 || dy != 0) eis.scroll(dx, inverted);
    return;
  }
  notifyAxisSteps(horizontalAxis, dx);
  notifyAxisSteps(verticalAxis, inverted);
}

}  // namespace ostler
