#pragma once

#include "base/geometry.h"
#include "image/rgb_image.h"
#include "wayland/stream/frame.h"

namespace ostler {

// The colours of a part of a frame, as they are: padding and alpha are left out.
// The part lies within the frame. Throws on a format other than the four that
// the stream may have.
RgbImage unpack(const Frame& frame, const Rect& part);

}  // namespace ostler
