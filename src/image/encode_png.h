#pragma once

#include <vector>

#include "image/rgb_image.h"

namespace ostler {

// A complete PNG file, 8 bits a channel, no alpha. Empty when libpng would
// refuse the image, as it does one without pixels.
std::vector<unsigned char> encodePng(const RgbImage& image);

}  // namespace ostler
