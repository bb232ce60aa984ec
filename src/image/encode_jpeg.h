#pragma once

#include <vector>

#include "base/geometry.h"
#include "image/rgb_image.h"

namespace ostler {

// A complete JPEG file; `quality` is a fraction, 1.0 being the best. Empty when
// libjpeg refuses the image, as it does one without pixels.
std::vector<unsigned char> encodeJpeg(const RgbImage& image, double quality);

// Whether libjpeg takes an image of this size.
bool fitsJpeg(Size size);

}  // namespace ostler
