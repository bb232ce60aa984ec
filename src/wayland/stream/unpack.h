#pragma once

#include "image/rgb_image.h"
#include "wayland/stream/frame.h"

namespace ostler {

// The colours of a frame, as they are: padding and alpha are left out. Throws
// on a format other than the four that the stream may have. The frame's size
// is positive.
RgbImage unpack(const Frame& frame);

}  // namespace ostler
