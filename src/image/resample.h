#pragma once

#include <cstdint>

#include "image/rgb_image.h"

namespace ostler {

// `image` in another size, both sides positive, by an area-weighted box
// filter: each pixel of the result is the mean of what lies under it. The sums
// are made in a fixed order, so the bytes are the same on every machine.
RgbImage resampleImage(const RgbImage& image, std::int32_t targetWidth, std::int32_t targetHeight);

}  // namespace ostler
