#pragma once

#include <vector>

#include "base/geometry.h"
#include "image/capture.h"

namespace ostler {

// Returns the picture with everything black that lies outside of the areas, which are in its pixels.
Capture blackenOutside(Capture picture, std::vector<Rect> areas);

}  // namespace ostler
