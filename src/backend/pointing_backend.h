#pragma once

#include <string>

#include "backend/backend.h"

namespace ostler {

enum class Button { left, middle, right };

// Returns the button with this name in upper or lower case, or the left one for any other text.
Button buttonNamed(const std::string& name);

// Computes the points of a drag after its start: at least 5, about 20 pixels apart.
class DragPath {
public:
  DragPath(double fromX, double fromY, double toX, double toY);

  int steps() const { return stepCount; }
  // Return the coordinates of one point. `step` runs from 1 to steps(); the last point is the
  // target.
  double x(int step) const { return startX + deltaX * fraction(step); }
  double y(int step) const { return startY + deltaY * fraction(step); }

private:
  double fraction(int step) const { return static_cast<double>(step) / stepCount; }

  double startX, startY, deltaX, deltaY;
  int stepCount;
};

// Implements the operations whose sequence of events and waits is the same on every platform.
class PointingBackend : public Backend {
public:
  void click(double x, double y, const std::string& button, int count) final;
  void drag(double fromX, double fromY, double toX, double toY) final;
  void mouseDown(double x, double y) final;
  void mouseUp(double x, double y) final;

protected:
  virtual void sendButton(Button button, bool pressed) = 0;
  // Moves the pointer within a drag.
  virtual void sendMotion(double x, double y) = 0;
};

}  // namespace ostler
