#pragma once

#include <string>

#include "backend/backend.h"

namespace ostler {

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

// The operations that are the same sequence of events and waits on every
// platform.
class PointingBackend : public Backend {
public:
  void click(double x, double y, const std::string& button, int count) final;
  void drag(double fromX, double fromY, double toX, double toY) final;
  void mouseDown(double x, double y) final;
  void mouseUp(double x, double y) final;

protected:
  virtual void sendButton(Button button, bool pressed) = 0;
  // A move while a button is down.
  virtual void dragTo(double x, double y) = 0;
};

}  // namespace ostler
