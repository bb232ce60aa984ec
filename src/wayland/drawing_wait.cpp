#include "wayland/drawing_wait.h"

#include "backend/interruption.h"
#include "base/sleep.h"

namespace ostler {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds pause{60};  // GNOME and KDE send a picture up to 50 ms after the drawing
constexpr milliseconds longest{1200};
constexpr milliseconds longestBlind{150};
constexpr milliseconds interval{5};

}  // namespace

void DrawingWait::noteKey() {
  before = count();
  lastKey = Clock::now();
}

void DrawingWait::settle() { waitForPause(false, Clock::now() + longestBlind); }

void DrawingWait::wait() { isBlind = !waitForPause(true, lastKey + (isBlind ? longestBlind : longest)); }

// Waits until no picture has come for a while. Returns whether one has come since the last key.
bool DrawingWait::waitForPause(bool isPictureNeeded, Clock::time_point deadline) {
  std::uint64_t seen = before;
  Clock::time_point lastPicture = lastKey;
  for (Clock::time_point now = Clock::now();; now = Clock::now()) {
    throwIfInterrupted();
    if (const std::uint64_t counted = count(); counted != seen) {
      seen = counted;
      lastPicture = now;
    }
    const bool isEnough = seen != before || !isPictureNeeded;
    if ((isEnough && now - lastPicture >= pause) || now >= deadline) return seen != before;
    sleepFor(interval);
  }
}

}  // namespace ostler
