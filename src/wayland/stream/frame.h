#pragma once

#include <cstddef>
#include <cstdint>

#include "image/bytes.h"

namespace ostler {

constexpr std::size_t bytesPerFramePixel = 4;

// What the stream negotiated: an SPA video format and a size in pixels.
struct StreamFormat {
  std::uint32_t videoFormat = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool operator==(const StreamFormat&) const = default;
};

// One picture as the stream sent it: rows of width * 4 bytes with no gap, top
// row first. It keeps the format that it arrived under, so a renegotiation
// never shows it under another geometry.
struct Frame {
  StreamFormat format;
  PixelBytes bytes;
};

}  // namespace ostler
