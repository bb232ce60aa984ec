#pragma once

#include <string>
#include <vector>

#include "base/geometry.h"

namespace ostler {

// Controls one kind of desktop. Every operation is synchronous: it returns when its events have
// been sent. It reports a failure by throwing std::runtime_error.
class Backend {
public:
  Backend() = default;
  Backend(const Backend&) = delete;
  Backend& operator=(const Backend&) = delete;
  virtual ~Backend() = default;

  virtual void mouseMove(double x, double y) = 0;
  // Moves the pointer, then presses and releases `button` `count` times. With a count below 1 it
  // only moves.
  virtual void click(double x, double y, const std::string& button, int count) = 0;
  virtual void drag(double fromX, double fromY, double toX, double toY) = 0;
  virtual void mouseDown(double x, double y) = 0;
  // Releases the button where the pointer is; the coordinates are ignored.
  virtual void mouseUp(double x, double y) = 0;
  virtual void type(const std::string& text) = 0;
  virtual void key(const std::string& combo) = 0;
  virtual void scroll(double x, double y, int dx, int dy) = 0;
  virtual Point cursorPosition() = 0;
  virtual Size display() = 0;
  // Returns a JPEG when `quality` is 0 or more, otherwise a PNG. A crop with a positive size takes
  // precedence over a target. The result is empty when there is no picture.
  virtual std::vector<unsigned char> screenshot(Size target, Rect crop, double quality) = 0;
};

}  // namespace ostler
