#include <algorithm>

#include "backend/session_perform.h"
#include "backend/waits.h"
#include "base/sleep.h"

namespace ostler {
namespace {

using std::chrono::nanoseconds;
using std::chrono::steady_clock;

constexpr std::chrono::milliseconds evenStep{10};

// A long wait can be interrupted.
void waitUntil(steady_clock::time_point time) {
  constexpr nanoseconds longest = std::chrono::milliseconds(20);
  for (nanoseconds left = time - steady_clock::now(); left.count() > 0; left = time - steady_clock::now()) {
    throwIfInterrupted();
    sleepFor(std::min(left, longest));
  }
}

}  // namespace

// All names are resolved before the first key is pressed. Where the operation fails, perform()
// releases the keys.
template <typename Operation>
void SessionBackend::holding(const std::vector<std::string>& keys, Operation operation) {
  std::vector<std::string> pressed;
  for (const std::string& key : keys) {
    if (!isHeld(resolveKeyCode(key))) pressed.push_back(key);
  }
  for (const std::string& key : pressed) sendKey(key, true);
  operation();
  std::for_each(pressed.rbegin(), pressed.rend(), [&](const std::string& key) { sendKey(key, false); });
}

template <typename Move>
void SessionBackend::moveEvenly(Place from, Place to, nanoseconds duration, Move move) {
  const steady_clock::time_point start = steady_clock::now();
  const auto steps = std::max<std::int64_t>(duration / evenStep, 1);
  for (std::int64_t step = 1; step <= steps; ++step) {
    waitUntil(start + duration / steps * step);
    const double fraction = static_cast<double>(step) / static_cast<double>(steps);
    move(from.x + (to.x - from.x) * fraction, from.y + (to.y - from.y) * fraction);
  }
}

void SessionBackend::glide(Place to, nanoseconds duration) {
  perform([&] {
    const Point from = cursorPosition();
    moveEvenly({static_cast<double>(from.x), static_cast<double>(from.y)}, to, duration,
               [&](double x, double y) { desktop().mouseMove(x, y); });
  });
}

void SessionBackend::click(std::optional<Place> at, Button button, int count,
                           const std::vector<std::string>& keys) {
  perform([&] {
    holding(keys, [&] {
      if (at) {
        desktop().mouseMove(at->x, at->y);
        sleepFor(waits::afterMove);
      }
      for (int i = 0; i < count; ++i) {
        if (i > 0) sleepFor(waits::betweenClicks);
        sendButton(button, true);
        sleepFor(waits::betweenPressAndRelease);
        sendButton(button, false);
      }
    });
  });
}

void SessionBackend::drag(Place from, Place to, Button button, const std::vector<std::string>& keys,
                          nanoseconds duration) {
  perform([&] {
    holding(keys, [&] {
      desktop().mouseMove(from.x, from.y);
      sleepFor(waits::aroundDragPress);
      sendButton(button, true);
      sleepFor(waits::aroundDragPress);
      if (duration.count() > 0) {
        moveEvenly(from, to, duration, [&](double x, double y) { sendMotion(x, y); });
        sleepFor(waits::afterDragStep);
      } else {
        const DragPath path(from.x, from.y, to.x, to.y);
        for (int step = 1; step <= path.steps(); ++step) {
          sendMotion(path.x(step), path.y(step));
          sleepFor(waits::afterDragStep);
        }
      }
      sendButton(button, false);
    });
  });
}

}  // namespace ostler
