#pragma once

#include "image/rgb_image.h"

namespace ostler {

// Fills `result` with the means of whole blocks of `image` where a small whole
// number of source pixels lies under each target pixel on both axes; false
// elsewhere. The bytes are those of resampleRow(), several times faster: integer
// sums are exact in any order.
bool reduceByWholeRatio(RgbImage& result, const RgbImage& image);

}  // namespace ostler
