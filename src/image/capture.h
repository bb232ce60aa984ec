#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "base/geometry.h"
#include "image/rgb_image.h"

namespace ostler {

// Holds a captured picture in the pixel layout of its platform. Only the part that a screenshot
// shows is converted.
struct Capture {
  Size size;
  // Converts `part`, which lies within the picture, to packed RGB. Owns the platform's picture.
  std::function<RgbImage(const Rect& part)> toRgb;
};

// Converts a rectangle in units of the display to pixels of a picture.
Rect toImagePixels(const Rect& crop, double scaleX, double scaleY);

// Returns the part of a picture of this size that a rectangle in its pixels covers. A negative
// origin counts as 0 and the rectangle keeps its size. The parts beyond the right and bottom edges
// are cut off, which can leave no pixels.
Rect clipCrop(Size picture, const Rect& crop);

// Returns the pixels of that part.
RgbImage cropImage(const Capture& picture, const Rect& crop);

// Returns the picture with everything black that lies outside of the areas, which are in its
// pixels.
Capture blackenOutside(Capture picture, std::vector<Rect> areas);

}  // namespace ostler
