#pragma once

#include <cstddef>
#include <cstdint>

#include "image/rgb_image.h"

namespace ostler {

// The order of a pixel's bytes. The fourth byte means nothing.
enum class PixelOrder { rgb, rgbx, bgrx };

// Refers to pixels that something else owns.
struct PixelRows {
  const unsigned char* row(std::int32_t y) const { return first + static_cast<std::ptrdiff_t>(y) * stride; }
  std::size_t rowSize() const { return static_cast<std::size_t>(width) * (order == PixelOrder::rgb ? 3 : 4); }

  const unsigned char* first = nullptr;
  std::ptrdiff_t stride = 0;  // in bytes
  std::int32_t width = 0;
  std::int32_t height = 0;
  PixelOrder order = PixelOrder::rgb;
};

inline PixelRows rowsOf(const RgbImage& image) {
  return {image.bytes.data(), static_cast<std::ptrdiff_t>(image.width) * 3, image.width, image.height,
          PixelOrder::rgb};
}

// Returns a copy.
RgbImage toRgbImage(const PixelRows& rows);

// Writes the pixels of one row as red, green, blue and 255.
void writeRgba(unsigned char* out, const PixelRows& rows, std::int32_t y);

// Returns whether two pictures of the same size and order show the same.
bool haveSameColours(const PixelRows& left, const PixelRows& right);

}  // namespace ostler
