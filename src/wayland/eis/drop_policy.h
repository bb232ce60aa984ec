#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "wayland/eis/pointer_regions.h"

namespace ostler {

// Decides which events are sent and which are dropped while the compositor does not read.
//
// libei keeps what does not fit into the socket until the next event, and the compositor would
// repeat a key whose release is delayed like that. So each event waits until the socket has room.
// If it gets none in time, a press, a motion or a scroll is dropped, and so are the following ones
// of the same operation: a click must be dropped with its motion. A release is dropped only if its
// press was; otherwise the key would stay down.
class DropPolicy {
public:
  // The longest wait for a compositor that has stopped reading. The events after it do not wait.
  static constexpr std::chrono::milliseconds stallLimit{10000};
  // Waits until the socket has room, and returns false if it has none by the end of the limit. Even
  // then it has room for a few releases.
  using WaitForRoom = std::function<bool(std::chrono::milliseconds limit)>;

  explicit DropPolicy(WaitForRoom waitForRoom) : waitFor(std::move(waitForRoom)) {}

  void beginOperation() { isDropping = false; }

  // Return whether to send an event. The code of a key or button is an evdev code; the two ranges
  // do not overlap.
  bool admitPress(std::uint32_t code);
  bool admitRelease(std::uint32_t code);
  bool admitMotion(EisPosition target);
  bool admitScroll() { return admitBeginning(); }

  // Returns the target of the last motion if it was dropped, and forgets it. A drag must end where
  // the host asked, not where the pointer was when the compositor stopped reading.
  std::optional<EisPosition> takeDroppedMotion() { return std::exchange(droppedMotion, std::nullopt); }
  // The keys and buttons whose presses were sent, and not their releases.
  const std::set<std::uint32_t>& held() const { return heldDown; }
  void forgetHeld() { heldDown.clear(); }

private:
  bool admitBeginning();
  bool hasRoom();

  const WaitForRoom waitFor;
  bool isStalled = false;   // the last wait has ended without room
  bool isDropping = false;  // an event of this operation was dropped
  std::optional<EisPosition> droppedMotion;
  std::set<std::uint32_t> heldDown;
  std::map<std::uint32_t, int> droppedPresses;
};

}  // namespace ostler
