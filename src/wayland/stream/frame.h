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

// One picture as the stream sent it: rows of width * 4 bytes without gaps, top row first. It keeps
// its format, so a later change of the stream's format does not affect it.
struct Frame {
  StreamFormat format;
  PixelBytes bytes;
};

}  // namespace ostler
