#pragma once

#include <vector>

#include "base/geometry.h"
#include "image/capture.h"

namespace ostler {

// The common ending of every screenshot: cuts the picture to `crop` (display
// units, scaleX and scaleY image pixels each), or else resamples it to
// `target`, and encodes it as the sign of `quality` says. The picture is
// released before encoding starts. Empty when the encoder refuses.
std::vector<unsigned char> finishCapture(Capture capture, double scaleX, double scaleY, Size target,
                                         Rect crop, double quality);

}  // namespace ostler
