#pragma once

#include <cstdint>

#include "image/capture.h"

namespace ostler {

// Converts a rectangle in units of the display to pixels of a picture.
Rect toImagePixels(const Rect& crop, double scaleX, double scaleY);

// Returns the part of a picture of this size that a rectangle in its pixels covers. A negative
// origin counts as 0 and the rectangle keeps its size. The parts beyond the right and bottom edges
// are cut off, which can leave no pixels.
Rect clipCrop(Size picture, const Rect& crop);

// Returns the pixels of that part.
RgbImage cropImage(const Capture& picture, std::int32_t x, std::int32_t y, std::int32_t cropWidth,
                   std::int32_t cropHeight);

}  // namespace ostler
