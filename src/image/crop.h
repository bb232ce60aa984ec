#pragma once

#include <cstdint>

#include "image/rgb_image.h"

namespace ostler {

// Returns the part of `image` that a rectangle in image pixels covers. A negative
// origin counts as 0 and the rectangle keeps its size. The parts beyond the right and
// bottom edges are cut off, which can leave an image without pixels.
RgbImage cropImage(const RgbImage& image, std::int32_t x, std::int32_t y, std::int32_t cropWidth,
                   std::int32_t cropHeight);

}  // namespace ostler
