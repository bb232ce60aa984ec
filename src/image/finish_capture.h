#pragma once

#include <vector>

#include "base/geometry.h"
#include "image/capture.h"

namespace ostler {

// Does the last steps of every screenshot. It cuts the picture to `crop`, or else resamples it to
// `target`, or does neither when both are empty. Then it encodes the result: as a JPEG when
// `quality` is 0.0 or more, otherwise as a PNG. `crop` is in units of the display; one unit is
// `scaleX` by `scaleY` image pixels. The picture is passed by value, so that it can be freed before
// the encoding. Returns no bytes when the encoder rejects the result.
std::vector<unsigned char> finishCapture(Capture capture, double scaleX, double scaleY, Size target,
                                         Rect crop, double quality);

}  // namespace ostler
