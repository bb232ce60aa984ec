#pragma once

#include <span>

#include "image/resample_span.h"
#include "image/rgb_image.h"

namespace ostler {

// Writes one row of target pixels, three bytes each. A target pixel covers the source
// pixels of `rows` and of its span in `columns`. The image must have pixels. Sums are
// added in the same order on every processor: from top to bottom, and in each row from
// left to right.
void resampleRow(unsigned char* out, const RgbImage& image, const ResampleSpan& rows,
                 std::span<const ResampleSpan> columns);

}  // namespace ostler
