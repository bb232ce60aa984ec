#pragma once

#include <cstddef>
#include <cstdint>
#include <stdexcept>

#include "image/bytes.h"

namespace ostler {

// Holds packed RGB: red, green and blue with 8 bits each, rows from top to bottom without padding,
// width * height * 3 bytes.
struct RgbImage {
  // Leaves the pixels uninitialised. Throws std::length_error or std::bad_alloc when the image is
  // too large for memory.
  RgbImage(std::int32_t imageWidth, std::int32_t imageHeight)
      : width(imageWidth), height(imageHeight), bytes(byteCount(imageWidth, imageHeight)) {}

  // Returns the number of bytes of an image of that size. Throws std::length_error when a vector
  // can never hold so many.
  static std::size_t byteCount(std::int32_t imageWidth, std::int32_t imageHeight) {
    const std::size_t count =
        static_cast<std::size_t>(imageWidth) * static_cast<std::size_t>(imageHeight) * 3;
    if (count > PTRDIFF_MAX) throw std::length_error("cannot create std::vector larger than max_size()");
    return count;
  }

  const unsigned char* row(std::int32_t y) const { return bytes.data() + rowOffset(y); }
  unsigned char* row(std::int32_t y) { return bytes.data() + rowOffset(y); }

  std::int32_t width;
  std::int32_t height;
  PixelBytes bytes;

private:
  std::size_t rowOffset(std::int32_t y) const {
    return static_cast<std::size_t>(y) * static_cast<std::size_t>(width) * 3;
  }
};

}  // namespace ostler
