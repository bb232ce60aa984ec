#pragma once

#include <vector>

#include "base/geometry.h"
#include "image/pixel_rows.h"

namespace ostler {

// Returns a complete JPEG file. `quality` runs from 0.0 to 1.0, which is the best. The result is
// empty when libjpeg rejects the image, for example one without pixels.
std::vector<unsigned char> encodeJpegRows(const PixelRows& image, double quality);

inline std::vector<unsigned char> encodeJpeg(const RgbImage& image, double quality) {
  return encodeJpegRows(rowsOf(image), quality);
}

// Returns whether an image of this size is small enough for libjpeg.
bool fitsJpeg(Size size);

}  // namespace ostler
