#include "backend/pointing_backend.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "backend/waits.h"
#include "base/sleep.h"
#include "keys/text.h"

namespace ostler {

Button buttonNamed(const std::string& name) {
  const std::string folded = foldCase(name);
  if (folded == "middle") return Button::middle;
  if (folded == "right") return Button::right;
  return Button::left;
}

DragPath::DragPath(double fromX, double fromY, double toX, double toY)
    : startX(fromX), startY(fromY), deltaX(toX - fromX), deltaY(toY - fromY), stepCount(5) {
  const double steps = std::sqrt(deltaX * deltaX + deltaY * deltaY) / 20.0;
  // A distance that is NaN or too large to count gets the smallest number of steps.
  if (steps < static_cast<double>(std::numeric_limits<int>::max())) {
    stepCount = std::max(stepCount, static_cast<int>(steps));
  }
}

void PointingBackend::click(double x, double y, const std::string& button, int count) {
  mouseMove(x, y);
  sleepFor(waits::afterMove);
  const Button named = buttonNamed(button);
  for (int i = 0; i < count; ++i) {
    if (i > 0) sleepFor(waits::betweenClicks);
    sendButton(named, true);
    sleepFor(waits::betweenPressAndRelease);
    sendButton(named, false);
  }
}

void PointingBackend::drag(double fromX, double fromY, double toX, double toY) {
  mouseMove(fromX, fromY);
  sleepFor(waits::aroundDragPress);
  sendButton(Button::left, true);
  sleepFor(waits::aroundDragPress);
  const DragPath path(fromX, fromY, toX, toY);
  for (int step = 1; step <= path.steps(); ++step) {
    sendMotion(path.x(step), path.y(step));
    sleepFor(waits::afterDragStep);
  }
  sendButton(Button::left, false);
}

void PointingBackend::mouseDown(double x, double y) {
  mouseMove(x, y);
  sleepFor(waits::afterMove);
  sendButton(Button::left, true);
}

void PointingBackend::mouseUp(double, double) { sendButton(Button::left, false); }

}  // namespace ostler
