#pragma once

#include <functional>

#include "base/geometry.h"
#include "image/rgb_image.h"

namespace ostler {

// Holds a captured picture in the pixel layout of its platform. Only the part that a
// screenshot shows is converted.
struct Capture {
  Size size;
  // Converts `part`, which lies within the picture, to packed RGB. Owns the platform's
  // picture.
  std::function<RgbImage(const Rect& part)> toRgb;
};

}  // namespace ostler
