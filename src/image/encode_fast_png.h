#pragma once

#include <vector>

#include "image/pixel_rows.h"

namespace ostler {

// Returns a complete PNG file with 8 bits per channel and no alpha channel. The bytes do not depend
// on the number of processors. The result is empty for an image without pixels, and for one that
// encodePng() rejects. Throws std::bad_alloc when there is no memory for the file.
std::vector<unsigned char> encodeFastPng(const PixelRows& image);

}  // namespace ostler
