#pragma once

#include "base/geometry.h"
#include "image/pixel_rows.h"
#include "wayland/stream/frame.h"

namespace ostler {

// Returns the colours of a part of a frame, without padding and alpha. The part must lie within the
// frame. Throws on an unsupported pixel format.
RgbImage unpack(const Frame& frame, const Rect& part);

// Refers to that part of a frame, without a copy.
PixelRows rowsOf(const Frame& frame, const Rect& part);

}  // namespace ostler
