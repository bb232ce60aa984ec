#pragma once

#include <cstdint>

#include "image/capture.h"

namespace ostler {

// Returns the part of a picture that a rectangle in its pixels covers. A negative
// origin counts as 0 and the rectangle keeps its size. The parts beyond the right and
// bottom edges are cut off, which can leave an image without pixels.
RgbImage cropImage(const Capture& picture, std::int32_t x, std::int32_t y, std::int32_t cropWidth,
                   std::int32_t cropHeight);

}  // namespace ostler
