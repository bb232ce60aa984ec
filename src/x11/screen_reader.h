#pragma once

#include <memory>

#include "backend/session_backend.h"
#include "x11/xlib_handles.h"

namespace ostler {

// Reads parts of the screen, through memory that is shared with the X server (MIT-SHM) where both
// run on one machine. The memory has no name, only this user may open it, and it disappears with
// the last process that uses it.
class ScreenReader {
public:
  explicit ScreenReader(Display* connection);
  ScreenReader(const ScreenReader&) = delete;
  ScreenReader& operator=(const ScreenReader&) = delete;
  ~ScreenReader();

  // Returns null when the server refuses. The next call writes to the same pixels.
  std::shared_ptr<XImage> read(Window window, const Rect& part);

private:
  class Segment;
  bool share(std::size_t size);
  bool isShared(Window window);

  Display* const display;
  std::unique_ptr<Segment> segment;
  bool isRefused = false;
};

// Returns the pixels of an image, which is not copied when its layout is a usual one.
Sight sightOf(std::shared_ptr<XImage> image);

}  // namespace ostler
