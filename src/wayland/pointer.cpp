#include <chrono>
#include <cmath>

#include <linux/input-event-codes.h>

#include "backend/waits.h"
#include "base/sleep.h"
#include "wayland/wayland_backend.h"

namespace ostler {
namespace {

double clampTo(double limit, double coordinate) {
  if (coordinate > limit) return limit;
  return coordinate > 0.0 ? coordinate : 0.0;  // NaN becomes 0 as well
}

std::int32_t rounded(double coordinate) { return static_cast<std::int32_t>(std::lround(coordinate)); }

bool isOnEdgeOfCorner(Position place) {
  constexpr double longest = 100.0;  // GNOME's barriers are as long as its panel is high
  return (place.x < 1.0 && place.y < longest) || (place.y < 1.0 && place.x < longest);
}

bool isDiagonal(Position from, Position to) { return from.x != to.x && from.y != to.y; }

// Whether the pointer has followed a motion in one direction only, and has stayed at the edge in
// the other.
bool wasHeldAtEdge(Position pointer, Position target) {
  const auto isNear = [](double one, double other) { return std::abs(one - other) <= 1.0; };
  return (pointer.x < 1.0 && target.x >= 1.0 && isNear(pointer.y, target.y)) ||
         (pointer.y < 1.0 && target.y >= 1.0 && isNear(pointer.x, target.x));
}

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
  beginOperation();
  sendMotion(x, y);
}

void WaylandBackend::sendMotion(double x, double y) {
  const Size limits = display();
  const Position target{clampTo(limits.width, x), clampTo(limits.height, y)};
  const bool fromCorner = beginsAtCorner(target);
  lastTarget = target;
  capture.setLastPointer({rounded(target.x), rounded(target.y)});
  moveTo(target);
  if (fromCorner && isHeldAtCorner(target)) moveTo(target);
}

void WaylandBackend::moveTo(Position target) {
  send(InputKind::pointer, [&](auto& to) { to.moveTo(target.x, target.y); });
}

// The hot corner of GNOME Shell has a barrier along each of its edges, which lets only motions
// along the other edge begin on it: on GNOME 48 and 51 one from 0,5 to 400,300 ends at 0,300. A
// second one gets through. Only the stream reports it, so nothing is sent twice if it does not
// report the pointer.
bool WaylandBackend::beginsAtCorner(Position target) const {
  const std::optional<Position> reported = reportedPointer();
  if (!reported) return false;
  const auto begins = [&](Position from) { return isOnEdgeOfCorner(from) && isDiagonal(from, target); };
  return begins(*reported) || (lastTarget && begins(*lastTarget));
}

bool WaylandBackend::isHeldAtCorner(Position target) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
  std::optional<Position> pointer = reportedPointer();
  while (pointer && !wasHeldAtEdge(*pointer, target)) {
    const bool arrived = std::hypot(pointer->x - target.x, pointer->y - target.y) < 2.0;
    if (arrived || std::chrono::steady_clock::now() >= deadline) return false;
    pointer = capture.waitForPointer(pointer, deadline);
  }
  return pointer.has_value();
}

void WaylandBackend::sendButton(Button button, bool pressed) {
  const std::uint32_t code = buttonCode(button);
  const auto sendTo = [&](auto& to) { to.button(code, pressed); };
  if (pressed) return send(InputKind::button, sendTo);
  // A button that was held when the screen was locked must not stay down.
  requireSession();
  deliver(InputKind::button, sendTo);
}

void WaylandBackend::scroll(double x, double y, int dx, int dy) {
  mouseMove(x, y);
  sleepFor(waits::afterMove);
  // A positive dy scrolls up here, while on X11 it scrolls down.
  turnWheel(dx, -static_cast<std::int64_t>(dy));
}

void WaylandBackend::turnWheel(std::int64_t right, std::int64_t down) {
  send(InputKind::scroll, [&](auto& to) { to.scroll(right, down); });
}

}  // namespace ostler
