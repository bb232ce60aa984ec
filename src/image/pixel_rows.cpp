#include "image/pixel_rows.h"

#include <cstring>

namespace ostler {
namespace {

// The processors that we support store the first byte of a pixel in the lowest bits of a number.
// The compiler vectorises the loops over such numbers at -O3.
constexpr std::uint32_t colourBits = 0x00ffffff, opaque = 0xff000000;

std::uint32_t pixelAt(const unsigned char* row, std::size_t x) {
  std::uint32_t pixel = 0;
  std::memcpy(&pixel, row + 4 * x, sizeof pixel);
  return pixel;
}

bool haveSameColours(const unsigned char* left, const unsigned char* right, std::size_t pixels) {
  std::uint32_t difference = 0;
  for (std::size_t x = 0; x < pixels; ++x) difference |= pixelAt(left, x) ^ pixelAt(right, x);
  return (difference & colourBits) == 0;
}

}  // namespace

RgbImage toRgbImage(const PixelRows& rows) {
  RgbImage image(rows.width, rows.height);
  const auto pixels = static_cast<std::size_t>(rows.width);
  const std::size_t size = rows.order == PixelOrder::rgb ? 3 : 4,
                    red = rows.order == PixelOrder::bgrx ? 2 : 0;
  for (std::int32_t y = 0; y < rows.height; ++y) {
    unsigned char* out = image.row(y);
    const unsigned char* in = rows.row(y);
    for (std::size_t x = 0; x < pixels; ++x) {
      out[3 * x] = in[size * x + red];
      out[3 * x + 1] = in[size * x + 1];
      out[3 * x + 2] = in[size * x + 2 - red];
    }
  }
  return image;
}

void writeRgba(unsigned char* out, const PixelRows& rows, std::int32_t y) {
  const unsigned char* in = rows.row(y);
  const auto pixels = static_cast<std::size_t>(rows.width);
  if (rows.order == PixelOrder::rgb) {
    for (std::size_t x = 0; x < pixels; ++x) {
      std::memcpy(out + 4 * x, in + 3 * x, 3);
      out[4 * x + 3] = 255;
    }
    return;
  }
  const bool swap = rows.order == PixelOrder::bgrx;
  for (std::size_t x = 0; x < pixels; ++x) {
    const std::uint32_t pixel = pixelAt(in, x);
    const std::uint32_t swapped = (pixel >> 16 & 0xff) | (pixel & 0xff00) | (pixel & 0xff) << 16;
    const std::uint32_t result = (swap ? swapped : pixel & colourBits) | opaque;
    std::memcpy(out + 4 * x, &result, sizeof result);
  }
}

bool haveSameColours(const PixelRows& left, const PixelRows& right) {
  for (std::int32_t y = 0; y < left.height; ++y) {
    const bool same = left.order == PixelOrder::rgb
                          ? std::memcmp(left.row(y), right.row(y), left.rowSize()) == 0
                          : haveSameColours(left.row(y), right.row(y), static_cast<std::size_t>(left.width));
    if (!same) return false;
  }
  return true;
}

}  // namespace ostler
