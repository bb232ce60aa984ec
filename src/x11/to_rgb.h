#pragma once

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "image/rgb_image.h"

namespace ostler {

// Converts a captured image to packed RGB. Each channel is scaled from the width of
// its mask to 8 bits.
RgbImage toRgb(XImage* image);

}  // namespace ostler
