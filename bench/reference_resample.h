#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "image/rgb_image.h"

namespace ostler {

// Applies the box filter in the straightforward way, pixel by pixel. resampleImage() has to return
// the same bytes, faster.
inline RgbImage referenceResample(const RgbImage& image, std::int32_t width, std::int32_t height) {
  RgbImage result(width, height);
  const double sx = static_cast<double>(image.width) / width, sy = static_cast<double>(image.height) / height;
  for (int ty = 0; ty < height; ++ty) {
    const double y0 = ty * sy, y1 = std::min((ty + 1) * sy, static_cast<double>(image.height));
    const int lastY = std::min(static_cast<int>(std::floor(y1 - 1e-10)), image.height - 1);
    for (int tx = 0; tx < width; ++tx) {
      const double x0 = tx * sx, x1 = std::min((tx + 1) * sx, static_cast<double>(image.width));
      const int lastX = std::min(static_cast<int>(std::floor(x1 - 1e-10)), image.width - 1);
      double weights = 0, sums[3] = {};
      for (int y = static_cast<int>(y0); y <= lastY; ++y) {
        const double wy = std::min(y1, y + 1.0) - std::max<double>(y0, y);
        for (int x = static_cast<int>(x0); x <= lastX; ++x) {
          const double w = (std::min(x1, x + 1.0) - std::max<double>(x0, x)) * wy;
          weights += w;
          for (int c = 0; c < 3; ++c) sums[c] += image.row(y)[x * 3 + c] * w;
        }
      }
      unsigned char* pixel = result.row(ty) + tx * 3;
      for (const double sum : sums) *pixel++ = static_cast<unsigned char>(sum / weights + 0.5);
    }
  }
  return result;
}

}  // namespace ostler
