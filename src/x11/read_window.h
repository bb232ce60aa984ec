#pragma once

#include "base/geometry.h"
#include "x11/xlib_handles.h"

namespace ostler {

// Reads a part of a window. Returns null when the server refuses, for example because the screen
// has become smaller. Throws std::bad_alloc when there is no memory for the picture.
ImageOwner readWindow(Display* display, Window window, const Rect& part);

}  // namespace ostler
