#pragma once

#include <vector>

#include "base/geometry.h"
#include "image/rgb_image.h"

namespace ostler {

// A complete PNG file, 8 bits a channel, no alpha. Empty when libpng refuses the
// image, as it does one without pixels, or fails; std::bad_alloc when there is no
// memory for the file.
std::vector<unsigned char> encodePng(const RgbImage& image);

// Whether libpng takes an image of this size.
bool fitsPng(Size size);

}  // namespace ostler
