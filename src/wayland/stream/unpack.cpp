#include "wayland/stream/unpack.h"

#include <cstddef>

#include <spa/param/video/raw.h>

#include "wayland/stream/stream_format.h"

namespace ostler {
namespace {

// The compiler vectorises this loop at -O3. If the processor has a byte shuffle, one instruction
// converts several pixels.
template <int red, int blue>
[[gnu::always_inline]] inline void unpackPixels(unsigned char* __restrict to,
                                                const unsigned char* __restrict from, std::size_t pixels) {
  for (std::size_t i = 0; i < pixels; ++i) {
    to[3 * i] = from[bytesPerFramePixel * i + red];
    to[3 * i + 1] = from[bytesPerFramePixel * i + 1];
    to[3 * i + 2] = from[bytesPerFramePixel * i + blue];
  }
}

using Unpacker = void (*)(unsigned char* to, const unsigned char* from, std::size_t pixels);

template <int red, int blue>
void unpackPlain(unsigned char* to, const unsigned char* from, std::size_t pixels) {
  unpackPixels<red, blue>(to, from, pixels);
}

#if defined(__x86_64__) || defined(__i386__)
// The byte shuffle of SSSE3, which the x86 baseline lacks, makes this four times as fast.
template <int red, int blue>
[[gnu::target("ssse3")]] void unpackShuffled(unsigned char* to, const unsigned char* from,
                                             std::size_t pixels) {
  unpackPixels<red, blue>(to, from, pixels);
}

template <int red, int blue>
Unpacker unpacker() {
  return __builtin_cpu_supports("ssse3") ? unpackShuffled<red, blue> : unpackPlain<red, blue>;
}
#else
template <int red, int blue>
Unpacker unpacker() {
  return unpackPlain<red, blue>;
}
#endif

bool isBlueFirst(std::uint32_t videoFormat) {
  requireSupportedFormat(videoFormat);
  return videoFormat == SPA_VIDEO_FORMAT_BGRx || videoFormat == SPA_VIDEO_FORMAT_BGRA;
}

Unpacker unpackerFor(std::uint32_t videoFormat) {
  return isBlueFirst(videoFormat) ? unpacker<2, 0>() : unpacker<0, 2>();
}

}  // namespace

RgbImage unpack(const Frame& frame, const Rect& part) {
  const Unpacker unpackRow = unpackerFor(frame.format.videoFormat);
  RgbImage image(part.width, part.height);
  const auto width = static_cast<std::size_t>(frame.format.width);
  for (std::int32_t y = 0; y < part.height; ++y) {
    const std::size_t start = static_cast<std::size_t>(part.y + y) * width + static_cast<std::size_t>(part.x);
    unpackRow(image.row(y), frame.bytes.data() + start * bytesPerFramePixel,
              static_cast<std::size_t>(part.width));
  }
  return image;
}

PixelRows rowsOf(const Frame& frame, const Rect& part) {
  const std::ptrdiff_t stride = frame.format.width * static_cast<std::ptrdiff_t>(bytesPerFramePixel);
  const std::ptrdiff_t start = part.y * stride + part.x * static_cast<std::ptrdiff_t>(bytesPerFramePixel);
  const PixelOrder order = isBlueFirst(frame.format.videoFormat) ? PixelOrder::bgrx : PixelOrder::rgbx;
  return {frame.bytes.data() + start, stride, part.width, part.height, order};
}

}  // namespace ostler
