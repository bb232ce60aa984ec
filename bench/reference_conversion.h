#pragma once

#include <bit>
#include <cstdint>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "image/rgb_image.h"

namespace ostler {

// Converts an image in the straightforward way, with a division for each channel. toRgb() has to
// return the same bytes, faster.
inline RgbImage referenceToRgb(XImage* image) {
  RgbImage result(image->width, image->height);
  const std::uint64_t masks[] = {image->red_mask, image->green_mask, image->blue_mask};
  unsigned char* out = result.bytes.data();
  for (int y = 0; y < image->height; ++y) {
    for (int x = 0; x < image->width; ++x) {
      const std::uint64_t pixel = XGetPixel(image, x, y);
      for (const std::uint64_t mask : masks) {
        const std::uint64_t value = (pixel & mask) >> std::countr_zero(mask);
        const std::uint64_t maximum = (std::uint64_t{1} << std::popcount(mask)) - 1;
        *out++ = static_cast<unsigned char>((value * 255 + (maximum >> 1)) / maximum);
      }
    }
  }
  return result;
}

}  // namespace ostler
