#pragma once

#include <cstdint>

#include "image/capture.h"

namespace ostler {

// The part of a picture that a rectangle in its pixels covers. A negative origin
// counts as 0 and shortens nothing; what lies past the far edges is cut off,
// which can leave an image without pixels.
RgbImage cropImage(const Capture& picture, std::int32_t x, std::int32_t y, std::int32_t cropWidth,
                   std::int32_t cropHeight);

}  // namespace ostler
