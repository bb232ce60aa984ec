#pragma once

#include <vector>

#include "base/geometry.h"
#include "image/pixel_rows.h"

namespace ostler {

// Returns a complete PNG file with 8 bits per channel and no alpha channel. The result is empty
// when libpng fails or rejects the image, for example one without pixels. Throws std::bad_alloc
// when there is no memory for the file.
std::vector<unsigned char> encodePngRows(const PixelRows& image);

inline std::vector<unsigned char> encodePng(const RgbImage& image) { return encodePngRows(rowsOf(image)); }

// Returns whether an image of this size is small enough for libpng.
bool fitsPng(Size size);

}  // namespace ostler
