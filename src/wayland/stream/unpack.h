#pragma once

#include "base/geometry.h"
#include "image/rgb_image.h"
#include "wayland/stream/frame.h"

namespace ostler {

// Returns the colours of a part of a frame, without padding and alpha. The part
// must lie within the frame. Throws on an unsupported pixel format.
RgbImage unpack(const Frame& frame, const Rect& part);

}  // namespace ostler
