#pragma once

#include <memory>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "base/owner.h"

namespace ostler {

// These types own what Xlib returns.

using DisplayConnection = Owner<Display, XCloseDisplay>;

// XDestroyImage is a macro.
inline void destroyImage(XImage* image) { XDestroyImage(image); }
using ImageOwner = Owner<XImage, destroyImage>;

template <typename T>
using XData = std::unique_ptr<T[], Deleter<XFree>>;

}  // namespace ostler
