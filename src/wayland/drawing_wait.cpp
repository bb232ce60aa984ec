#include "wayland/drawing_wait.h"

#include "backend/interruption.h"
#include "backend/waits.h"

namespace ostler {
namespace {

using std::chrono::milliseconds;

constexpr milliseconds least{50};
constexpr milliseconds pause{60};  // GNOME and KDE send a picture up to 50 ms after the drawing
constexpr milliseconds longest{1200};
constexpr milliseconds longestBlind{150};
constexpr milliseconds interval{5};

}  // namespace

void DrawingWait::noteKey() {
  before = count();
  lastKey = Clock::now();
}

void DrawingWait::settle() {
  std::uint64_t seen = count();
  Clock::time_point lastChange = lastKey;
  const Clock::time_point deadline = Clock::now() + longestBlind;
  for (Clock::time_point now = Clock::now(); now - lastChange < pause && now < deadline; now = Clock::now()) {
    throwIfInterrupted();
    sleepFor(interval);
    if (const std::uint64_t counted = count(); counted != seen) {
      seen = counted;
      lastChange = now;
    }
  }
}

void DrawingWait::wait() {
  std::uint64_t seen = before;
  Clock::time_point lastPicture = lastKey;
  const Clock::time_point deadline = lastKey + (isBlind ? longestBlind : longest);
  for (Clock::time_point now = Clock::now();; now = Clock::now()) {
    throwIfInterrupted();
    if (const std::uint64_t counted = count(); counted != seen) {
      seen = counted;
      lastPicture = now;
    }
    const bool isDrawn = seen != before && now - lastPicture >= pause && now - lastKey >= least;
    if (isDrawn || now >= deadline) break;
    sleepFor(interval);
  }
  isBlind = seen == before;
}

}  // namespace ostler
