#include <algorithm>
#include <cmath>
#include <limits>

#include "backend/waits.h"
#include "wayland/portal/portal_call.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

constexpr std::uint32_t pointerDevice = 2;
constexpr std::uint32_t verticalAxis = 0, horizontalAxis = 1;
constexpr int wheelStep = 120;  // of a scroll event, by convention of all wheel protocols

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

// libei (to 1.4 at least) drops a motion that lies in none of the device's
// regions without a word, and a region ends before its far edge, so a move to
// the right or bottom edge of the desktop would be lost. Such a point is moved
// to the nearest one inside a region: the last that a float, which is what the
// wire carries, can tell from the edge.
Position insideRegions(ei_device* device, Position target) {
  const double x = static_cast<float>(target.x), y = static_cast<float>(target.y);
  Position nearest = target;
  double nearestDistance = std::numeric_limits<double>::infinity();
  for (std::size_t i = 0; ei_region* region = ei_device_get_region(device, i); ++i) {
    if (ei_region_contains(region, x, y)) return target;
    const double left = ei_region_get_x(region), right = left + ei_region_get_width(region);
    const double top = ei_region_get_y(region), bottom = top + ei_region_get_height(region);
    if (left == right || top == bottom) continue;
    const auto lastBefore = [](double edge) { return std::nextafter(static_cast<float>(edge), 0.0f); };
    const Position candidate{std::clamp<double>(x, left, lastBefore(right)),
                             std::clamp<double>(y, top, lastBefore(bottom))};
    const double distance = std::hypot(candidate.x - x, candidate.y - y);
    if (distance >= nearestDistance) continue;
    nearestDistance = distance;
    nearest = candidate;
  }
  return nearest;
}

}  // namespace

void WaylandBackend::mouseMove(double x, double y) {
  const Size limits = display();
  const Position target{clampTo(limits.width, x), clampTo(limits.height, y)};
  capture.setLastPointer({rounded(target.x), rounded(target.y)});
  eis.beginOperation();
  if (ei_device* device = eis.eiPointer.get()) {
    const Position sent = insideRegions(device, target);
    eis.send(device, true, [&] { ei_device_pointer_motion_absolute(device, sent.x, sent.y); });
    return;
  }
  requirePortalDevice(portal.grantedDevices, pointerDevice, "pointer motion");
  portalInputCall(
      portal.connection.get(), "NotifyPointerMotionAbsolute",
      g_variant_new("(oa{sv}udd)", portal.sessionHandle.c_str(), nullptr, portal.nodeId, target.x, target.y));
}

void WaylandBackend::dragTo(double x, double y) { mouseMove(x, y); }

void WaylandBackend::sendButton(Button button, bool pressed) {
  const std::uint32_t code = buttonCode(button);
  if (ei_device* device = eis.eiButton.get()) {
    eis.send(device, pressed, [&] { ei_device_button_button(device, code, pressed); });
    return;
  }
  requirePortalDevice(portal.grantedDevices, pointerDevice, "pointer button");
  portalInputCall(portal.connection.get(), "NotifyPointerButton",
                  g_variant_new("(oa{sv}iu)", portal.sessionHandle.c_str(), nullptr,
                                static_cast<gint32>(code), static_cast<guint32>(pressed)));
}

// One call a step; the sign of `steps` is the direction.
void WaylandBackend::notifyAxisSteps(std::uint32_t axis, int steps) {
  for (std::int64_t left = std::abs(static_cast<std::int64_t>(steps)); left > 0; --left) {
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
  const auto inverted = static_cast<std::int32_t>(-static_cast<std::uint32_t>(dy));
  if (ei_device* device = eis.eiScroll.get()) {
    if (dx == 0 && dy == 0) return;
    const auto amount = [](std::int32_t steps) {
      return static_cast<std::int32_t>(static_cast<std::uint32_t>(steps) * wheelStep);
    };
    eis.send(device, true, [&] { ei_device_scroll_discrete(device, amount(dx), amount(inverted)); });
    return;
  }
  notifyAxisSteps(horizontalAxis, dx);
  notifyAxisSteps(verticalAxis, inverted);
}

}  // namespace ostler
