#pragma once

#include <memory>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace ostler {

// Owners of what Xlib hands out.

struct DisplayCloser {
  void operator()(Display* display) const { XCloseDisplay(display); }
};
using DisplayConnection = std::unique_ptr<Display, DisplayCloser>;

struct ImageDestroyer {
  void operator()(XImage* image) const { XDestroyImage(image); }
};
using ImageOwner = std::unique_ptr<XImage, ImageDestroyer>;

struct XDataFreer {
  void operator()(void* data) const { XFree(data); }
};
template <typename T>
using XData = std::unique_ptr<T[], XDataFreer>;

}  // namespace ostler
