#pragma once

#include <span>

#include "image/resample_span.h"
#include "image/rgb_image.h"

namespace ostler {

// Writes the target pixels that lie where `rows` crosses each of `columns`, three
// bytes each. The image has pixels. Sums are made in the same order on every
// processor: from top to bottom, and in each row from left to right.
void resampleRow(unsigned char* out, const RgbImage& image, const ResampleSpan& rows,
                 std::span<const ResampleSpan> columns);

}  // namespace ostler
