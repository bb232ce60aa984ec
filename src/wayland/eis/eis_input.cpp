#include "wayland/eis/eis_input.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <limits>

#include <poll.h>

namespace ostler {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

// After this the host has waited enough for a compositor that has stopped reading.
constexpr milliseconds stallLimit{10000};
constexpr std::uint32_t wheelStep = 120;  // of a scroll event, by convention of all wheel protocols

void finishFrame(ei_device* device) {
  const auto now = Clock::now().time_since_epoch();
  ei_device_frame(
      device, static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
}

}  // namespace

void EisInput::moveTo(double x, double y) {
  pendingMotion = Position{static_cast<float>(x), static_cast<float>(y)};
  if (admitBeginning()) sendPendingMotion();
}

void EisInput::button(std::uint32_t code, bool pressed) {
  if (!admit(code, pressed)) return;
  // What is dragged is dropped where the host asked for, not where the pointer
  // was when the compositor stopped reading.
  if (!pressed) sendPendingMotion();
  ei_device* const device = channel.eiButton.get();
  ei_device_button_button(device, code, pressed);
  finishFrame(device);
}

void EisInput::scroll(std::int64_t right, std::int64_t down) {
  if ((right == 0 && down == 0) || !admitBeginning()) return;
  const auto amount = [](std::int64_t steps) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(steps) * wheelStep);
  };
  ei_device* const device = channel.eiScroll.get();
  ei_device_scroll_discrete(device, amount(right), amount(down));
  finishFrame(device);
}

void EisInput::key(std::uint32_t code, bool pressed) {
  if (!admit(code, pressed)) return;
  ei_device* const device = channel.eiKeyboard.get();
  ei_device_keyboard_key(device, code, pressed);
  finishFrame(device);
}

void EisInput::sendPendingMotion() {
  if (!pendingMotion) return;
  ei_device* const device = channel.eiPointer.get();
  const Position sent = insideRegions(*pendingMotion);
  pendingMotion.reset();
  ei_device_pointer_motion_absolute(device, sent.x, sent.y);
  finishFrame(device);
}

// libei (to 1.4 at least) silently drops a motion that lies in none of the
// device's regions, and a region ends before its far edge, so a move to the
// right or bottom edge of the desktop would be lost. Such a point is moved to
// the nearest one inside a region: the last that a float can tell from the edge.
EisInput::Position EisInput::insideRegions(Position target) const {
  Position nearest = target;
  float nearestDistance = std::numeric_limits<float>::infinity();
  for (std::size_t i = 0; ei_region* region = ei_device_get_region(channel.eiPointer.get(), i); ++i) {
    if (ei_region_contains(region, target.x, target.y)) return target;
    const auto left = static_cast<float>(ei_region_get_x(region));
    const auto top = static_cast<float>(ei_region_get_y(region));
    const float right = left + static_cast<float>(ei_region_get_width(region));
    const float bottom = top + static_cast<float>(ei_region_get_height(region));
    if (left == right || top == bottom) continue;
    const Position candidate{std::clamp(target.x, left, std::nextafter(right, 0.0f)),
                             std::clamp(target.y, top, std::nextafter(bottom, 0.0f))};
    const float distance = std::hypot(candidate.x - target.x, candidate.y - target.y);
    if (distance >= nearestDistance) continue;
    nearestDistance = distance;
    nearest = candidate;
  }
  return nearest;
}

// Whether the press or release of a key or button is to be sent.
bool EisInput::admit(std::uint32_t code, bool pressed) {
  if (pressed) {
    if (admitBeginning()) {
      heldDown.insert(code);
      droppedPresses.erase(code);
      return true;
    }
    if (!heldDown.contains(code)) ++droppedPresses[code];
    return false;
  }
  if (heldDown.erase(code) == 0) {
    const auto dropped = droppedPresses.find(code);
    if (dropped != droppedPresses.end()) {
      if (--dropped->second == 0) droppedPresses.erase(dropped);
      return false;
    }
  }
  waitForRoom();
  return true;
}

// Whether an event that begins something is to be sent.
bool EisInput::admitBeginning() {
  if (!dropping) dropping = !waitForRoom();
  return !dropping;
}

// What does not fit the socket would stay in libei until the next event, and
// the compositor would repeat a key whose release stayed there. So events wait
// for a compositor that is behind; one that does not come back in time holds up
// only the first of them. The system counts a socket as writable while it is
// three quarters empty, so there is room for releases even then.
bool EisInput::waitForRoom() {
  pollfd writable{channel.eisFd.get(), POLLOUT, 0};
  const Clock::time_point deadline = Clock::now() + (stalled ? milliseconds(0) : stallLimit);
  int ready = 0;
  do {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    ready = poll(&writable, 1, static_cast<int>(std::max(left, milliseconds(0)).count()));
  } while (ready < 0 && errno == EINTR);
  stalled = ready == 0;
  return !stalled;
}

}  // namespace ostler
