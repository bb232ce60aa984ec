#include "wayland/eis/eis_input.h"

#include <algorithm>
#include <chrono>
#include <set>

#include <linux/input-event-codes.h>

namespace ostler {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds reportDelay{100};  // the longest time until the stream reports a motion
constexpr std::uint32_t wheelStep = 120;  // the value of one step in ei_device_scroll_discrete()

void finishFrame(ei_device* device) {
  const auto now = Clock::now().time_since_epoch();
  ei_device_frame(
      device, static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count()));
}

}  // namespace

void EisInput::moveTo(double x, double y) {
  const EisPosition target{static_cast<float>(x), static_cast<float>(y)};
  if (policy.admitMotion(target)) moveTo(target);
}

void EisInput::button(std::uint32_t code, bool pressed) {
  if (!isAdmitted(code, pressed)) return;
  const auto dropped = pressed ? std::nullopt : policy.takeDroppedMotion();
  if (dropped) moveTo(*dropped);
  ei_device* const device = channel.device(InputKind::button);
  ei_device_button_button(device, code, pressed);
  finishFrame(device);
}

void EisInput::scroll(std::int64_t right, std::int64_t down) {
  if ((right == 0 && down == 0) || !policy.admitScroll()) return;
  const auto amount = [](std::int64_t steps) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(steps) * wheelStep);
  };
  ei_device* const device = channel.device(InputKind::scroll);
  ei_device_scroll_discrete(device, amount(right), amount(down));
  finishFrame(device);
}

void EisInput::key(std::uint32_t code, bool pressed) {
  if (!isAdmitted(code, pressed)) return;
  ei_device* const device = channel.device(InputKind::keyboard);
  ei_device_keyboard_key(device, code, pressed);
  finishFrame(device);
  channel.noteKey();
}

void EisInput::releaseHeld() {
  const std::set<std::uint32_t> held = policy.held();
  for (const std::uint32_t code : held) {
    const InputKind kind = isButton(code) ? InputKind::button : InputKind::keyboard;
    if (channel.isDisconnected() || channel.isDeviceRemoved(kind)) continue;
    isButton(code) ? button(code, false) : key(code, false);
  }
  policy.forgetHeld();
}

void EisInput::moveTo(EisPosition inStream) {
  const PointerRegions regions(channel.pointerRegions(), stream);
  const EisPosition target = regions.place(inStream);
  // KDE Plasma 6 has an edge barrier between monitors. It holds back 100 pixels (2000 in corners)
  // of a motion across the edge, absolute motions included: one from 100,100 to 1300,100 ends at
  // 1279. A motion to the middle of the other monitor gets through.
  if (!regions.isSingle() && !isPointerNear(target, regions)) sendMotion(regions.middleAround(target));
  sendMotion(target);
}

// Returns whether the pointer is known to be in the target's region. It is where our last motion
// ended, unless the user has moved it since, which only the stream reports. A report of our own
// motion takes up to 45 ms on KDE Plasma 6.3, so reports count only after a pause. They do not
// count while a button is held, when a stop would be part of the drag.
bool EisInput::isPointerNear(EisPosition target, const PointerRegions& regions) const {
  if (lastPlace) {
    if (!regions.haveSameRegion(*lastPlace, target)) return false;
    const bool buttonHeld = std::any_of(policy.held().begin(), policy.held().end(), isButton);
    if (buttonHeld || Clock::now() - lastMotion < reportDelay) return true;
  }
  const auto reported = askPointer();
  if (!reported) return false;
  const EisPosition inStream{static_cast<float>(reported->x), static_cast<float>(reported->y)};
  return regions.haveSameRegion(regions.onDesktop(inStream), target);
}

void EisInput::sendMotion(EisPosition place) {
  ei_device* const device = channel.device(InputKind::pointer);
  ei_device_pointer_motion_absolute(device, place.x, place.y);
  finishFrame(device);
  lastPlace = place;
  lastMotion = Clock::now();
}

bool EisInput::isButton(std::uint32_t code) { return code >= BTN_MISC && code < KEY_OK; }

}  // namespace ostler
