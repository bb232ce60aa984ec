#include "driver/pointer_input.h"

#include <algorithm>
#include <cmath>
#include <limits>

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
  // A distance that is no number, or beyond counting, gets the fewest steps.
  if (steps < static_cast<double>(std::numeric_limits<int>::max())) {
    stepCount = std::max(stepCount, static_cast<int>(steps));
  }
}

}  // namespace ostler
