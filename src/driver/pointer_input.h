#pragma once

#include <chrono>
#include <string>

namespace ostler {

// What pointer input has in common on every platform.

namespace waits {
using std::chrono::milliseconds;
constexpr milliseconds afterMove{5};
constexpr milliseconds betweenPressAndRelease{10};
constexpr milliseconds betweenClicks{50};
constexpr milliseconds aroundDragPress{10};
constexpr milliseconds afterDragStep{5};
constexpr milliseconds afterCharacter{5};
}  // namespace waits

enum class Button { left, middle, right };

// The button that a host names, in any case; every other text is the left one.
Button buttonNamed(const std::string& name);

// The points of a drag after its start, about 20 pixels apart and at least 5.
class DragPath {
public:
  DragPath(double fromX, double fromY, double toX, double toY);

  int steps() const { return stepCount; }
  // Point `step` of 1 to steps(); the last one is the target.
  double x(int step) const { return startX + deltaX * fraction(step); }
  double y(int step) const { return startY + deltaY * fraction(step); }

private:
  double fraction(int step) const { return static_cast<double>(step) / stepCount; }

  double startX, startY, deltaX, deltaY;
  int stepCount;
};

}  // namespace ostler
