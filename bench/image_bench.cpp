// What a screenshot costs besides the capture itself. "Plain" is the formula as
// it is defined, for comparison; results are the same to the byte.

#include <bit>

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <benchmark/benchmark.h>
#include <spa/param/video/raw.h>

#include "image/encode_jpeg.h"
#include "image/encode_png.h"
#include "image/resample.h"
#include "support/resample_plainly.h"
#include "wayland/unpack.h"
#include "x11/channel_scale.h"

namespace ostler {
namespace {

constexpr std::int32_t width = 1920, height = 1080;

RgbImage desktopLike() {
  RgbImage image(width, height);
  for (std::size_t i = 0; i < image.bytes.size(); ++i) {
    image.bytes[i] = static_cast<unsigned char>(i / 3 % 7 == 0 ? i * 31 : i / 5760);
  }
  return image;
}

struct PlainChannel {
  explicit PlainChannel(unsigned long channelMask) : mask(channelMask) {}
  unsigned char byteOf(unsigned long pixel) const {
    const std::uint64_t value = (pixel & mask) >> std::countr_zero(mask);
    const std::uint64_t maximum = (std::uint64_t{1} << std::popcount(mask)) - 1;
    return static_cast<unsigned char>((value * 255 + (maximum >> 1)) / maximum);
  }
  std::uint64_t mask;
};

template <typename Channel>
void convertPixels(benchmark::State& state) {
  std::vector<unsigned> pixels(static_cast<std::size_t>(width) * height, 0x00AB12CD);
  XImage capture{};
  capture.width = width;
  capture.height = height;
  capture.format = ZPixmap;
  capture.data = reinterpret_cast<char*>(pixels.data());
  capture.byte_order = LSBFirst;
  capture.bitmap_unit = capture.bitmap_pad = 32;
  capture.bits_per_pixel = 32;
  capture.depth = 24;
  XInitImage(&capture);
  unsigned long masks[] = {0xFF0000, 0xFF00, 0xFF};
  for (auto _ : state) {
    benchmark::DoNotOptimize(masks);  // as a server's, they are known at run time only
    RgbImage image(width, height);
    const Channel red(masks[0]), green(masks[1]), blue(masks[2]);
    unsigned char* out = image.bytes.data();
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const unsigned long pixel = XGetPixel(&capture, x, y);
        *out++ = red.byteOf(pixel);
        *out++ = green.byteOf(pixel);
        *out++ = blue.byteOf(pixel);
      }
    }
    benchmark::DoNotOptimize(image.bytes.data());
  }
}
BENCHMARK(convertPixels<PlainChannel>)->Unit(benchmark::kMillisecond);
BENCHMARK(convertPixels<ChannelScale>)->Unit(benchmark::kMillisecond);

template <auto resample>
void resampleTo720p(benchmark::State& state) {
  const RgbImage image = desktopLike();
  for (auto _ : state) benchmark::DoNotOptimize(resample(image, 1280, 720).bytes.data());
}
BENCHMARK(resampleTo720p<resamplePlainly>)->Unit(benchmark::kMillisecond);
BENCHMARK(resampleTo720p<resampleImage>)->Unit(benchmark::kMillisecond);

void unpackBgrx(benchmark::State& state) {
  const Frame frame{{SPA_VIDEO_FORMAT_BGRx, width, height},
                    PixelBytes(static_cast<std::size_t>(width) * height * bytesPerFramePixel, 7)};
  for (auto _ : state) benchmark::DoNotOptimize(unpack(frame).bytes.data());
}
BENCHMARK(unpackBgrx)->Unit(benchmark::kMillisecond);

void encodeJpeg75(benchmark::State& state) {
  const RgbImage image = desktopLike();
  for (auto _ : state) benchmark::DoNotOptimize(encodeJpeg(image, 0.75).data());
}
BENCHMARK(encodeJpeg75)->Unit(benchmark::kMillisecond);

void encodeToPng(benchmark::State& state) {
  const RgbImage image = desktopLike();
  for (auto _ : state) benchmark::DoNotOptimize(encodePng(image).data());
}
BENCHMARK(encodeToPng)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace ostler
