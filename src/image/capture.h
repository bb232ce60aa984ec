#pragma once

#include <functional>

#include "base/geometry.h"
#include "image/rgb_image.h"

namespace ostler {

// A captured picture in the pixel layout of its platform, of which only the part
// that a screenshot shows is converted.
struct Capture {
  Size size;
  // Converts a part that lies within the picture. Owns the platform's picture.
  std::function<RgbImage(const Rect& part)> toRgb;
};

}  // namespace ostler
