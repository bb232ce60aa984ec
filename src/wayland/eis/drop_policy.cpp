#include "wayland/eis/drop_policy.h"

namespace ostler {

bool DropPolicy::admitPress(std::uint32_t code) {
  if (admitBeginning()) {
    heldDown.insert(code);
    droppedPresses.erase(code);
    return true;
  }
  if (!heldDown.contains(code)) ++droppedPresses[code];
  return false;
}

bool DropPolicy::admitRelease(std::uint32_t code) {
  if (heldDown.erase(code) == 0) {
    const auto dropped = droppedPresses.find(code);
    if (dropped != droppedPresses.end()) {
      if (--dropped->second == 0) droppedPresses.erase(dropped);
      return false;
    }
  }
  hasRoom();
  return true;
}

bool DropPolicy::admitMotion(EisPosition target) {
  const bool isAdmitted = admitBeginning();
  droppedMotion = isAdmitted ? std::nullopt : std::optional(target);
  return isAdmitted;
}

bool DropPolicy::admitBeginning() {
  if (!isDropping) isDropping = !hasRoom();
  return !isDropping;
}

bool DropPolicy::hasRoom() {
  isStalled = !waitFor(isStalled ? std::chrono::milliseconds(0) : stallLimit);
  return !isStalled;
}

}  // namespace ostler
