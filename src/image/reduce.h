#pragma once

#include "image/rgb_image.h"

namespace ostler {

// Reduces `image` to the size of `result` when each target pixel covers a small whole number of
// source pixels on both axes; otherwise returns false. Writes the same bytes as resampleRow(),
// because integer sums are exact in any order, but is several times faster.
bool reduceByWholeRatio(RgbImage& result, const RgbImage& image);

}  // namespace ostler
