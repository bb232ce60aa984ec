#pragma once

#include <string>
#include <vector>

#include "base/geometry.h"

namespace ostler {

// One way to reach a desktop. Every operation is synchronous: it returns when its
// events have been sent. It reports failure by throwing std::runtime_error.
class Backend {
public:
  Backend() = default;
  Backend(const Backend&) = delete;
  Backend& operator=(const Backend&) = delete;
  virtual ~Backend() = default;

  virtual void mouseMove(double x, double y) = 0;
  // Moves, then presses and releases `button` `count` times; below 1 it only moves.
  virtual void click(double x, double y, const std::string& button, int count) = 0;
  virtual void drag(double fromX, double fromY, double toX, double toY) = 0;
  virtual void mouseDown(double x, double y) = 0;
  // Releases where the pointer is: the coordinates do not move it.
  virtual void mouseUp(double x, double y) = 0;
  virtual void type(const std::string& text) = 0;
  virtual void key(const std::string& combo) = 0;
  virtual void scroll(double x, double y, int dx, int dy) = 0;
  virtual Point cursorPosition() = 0;
  virtual Size display() = 0;
  // A JPEG when `quality` is 0 or more, else a PNG. A crop with a positive
  // size wins over a target. Empty when there is no picture.
  virtual std::vector<unsigned char> screenshot(Size target, Rect crop, double quality) = 0;
};

}  // namespace ostler
