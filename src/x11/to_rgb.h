#pragma once

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "base/geometry.h"
#include "image/rgb_image.h"

namespace ostler {

// The pixels of a part of a captured image, each channel scaled from the width
// of its mask to 8 bits. The part lies within the image.
RgbImage toRgb(XImage* image, const Rect& part);

}  // namespace ostler
