#pragma once

#include <cstdint>
#include <span>

#include "image/rgb_image.h"

namespace ostler {

// Describes the source pixels that one target pixel covers along one axis: `count` of them from
// `first` on. All except the first and the last are covered in full.
struct ResampleSpan {
  std::int32_t first;
  std::int32_t count;
  double firstWeight;
  double lastWeight;

  double weight(std::int32_t index) const {
    if (index == 0) return firstWeight;
    return index == count - 1 ? lastWeight : 1.0;
  }
  std::int32_t end() const { return first + count; }
};

// Returns the span of the target pixel with index `target`. One target pixel is `step` source
// pixels wide.
ResampleSpan resampleSpan(std::int32_t target, double step, std::int32_t sourceSize);

// Writes one row of target pixels, three bytes each. A target pixel covers the source pixels of
// `rows` and of its span in `columns`. The image must have pixels. Sums are added in the same order
// on every processor: from top to bottom, and in each row from left to right.
void resampleRow(unsigned char* out, const RgbImage& image, const ResampleSpan& rows,
                 std::span<const ResampleSpan> columns);

}  // namespace ostler
