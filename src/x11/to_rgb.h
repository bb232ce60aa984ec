#pragma once

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "base/geometry.h"
#include "image/rgb_image.h"

namespace ostler {

// Converts `part`, which lies within the captured image, to packed RGB. Each channel is scaled from
// the width of its mask to 8 bits.
RgbImage toRgb(XImage* image, const Rect& part);

}  // namespace ostler
