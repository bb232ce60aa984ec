#pragma once

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "image/rgb_image.h"

namespace ostler {

// The pixels of a captured image, each channel scaled from the width of its
// mask to 8 bits.
RgbImage toRgb(XImage* image);

}  // namespace ostler
