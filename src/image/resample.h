#pragma once

#include <cstdint>

#include "image/rgb_image.h"

namespace ostler {

// Resamples `image` to a target size with positive sides by an area-weighted box filter: each pixel
// of the result is the mean of the source pixels that it covers. Sums are added in a fixed order,
// so the bytes are the same on every machine.
RgbImage resampleImage(const RgbImage& image, std::int32_t targetWidth, std::int32_t targetHeight);

}  // namespace ostler
