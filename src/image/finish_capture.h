#pragma once

#include <vector>

#include "base/geometry.h"
#include "image/rgb_image.h"

namespace ostler {

// The common ending of every screenshot: cuts the image to `crop` (display
// units, scaleX and scaleY image pixels each), or else resamples it to
// `target`, and encodes it as the sign of `quality` says. Takes the image so
// that it can go before encoding starts. Empty when the encoder refuses.
std::vector<unsigned char> finishCapture(RgbImage image, double scaleX, double scaleY, Size target, Rect crop,
                                         double quality);

}  // namespace ostler
