// Times the steps of a screenshot other than the capture. The reference functions are
// straightforward versions for comparison, with the same results to the byte.

#include <cstring>
#include <utility>

#include <benchmark/benchmark.h>
#include <spa/buffer/buffer.h>
#include <spa/param/video/raw.h>

#include "bench/reference_conversion.h"
#include "bench/reference_resample.h"
#include "image/encode_fast_png.h"
#include "image/encode_jpeg.h"
#include "image/encode_png.h"
#include "image/resample.h"
#include "wayland/stream/buffer_content.h"
#include "wayland/stream/capture_state.h"
#include "wayland/stream/unpack.h"
#include "x11/to_rgb.h"

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

RgbImage convertAll(XImage* image) { return toRgb(image, {0, 0, image->width, image->height}); }

template <auto convert>
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
  capture.red_mask = 0xFF0000;
  capture.green_mask = 0xFF00;
  capture.blue_mask = 0xFF;
  XInitImage(&capture);
  for (auto _ : state) benchmark::DoNotOptimize(convert(&capture).bytes.data());
}
BENCHMARK(convertPixels<referenceToRgb>)->Unit(benchmark::kMillisecond);
BENCHMARK(convertPixels<convertAll>)->Unit(benchmark::kMillisecond);

template <auto resample>
void resampleTo720p(benchmark::State& state) {
  const RgbImage image = desktopLike();
  for (auto _ : state) benchmark::DoNotOptimize(resample(image, 1280, 720).bytes.data());
}
BENCHMARK(resampleTo720p<referenceResample>)->Unit(benchmark::kMillisecond);
BENCHMARK(resampleTo720p<resampleImage>)->Unit(benchmark::kMillisecond);

void unpackBgrx(benchmark::State& state) {
  const Frame frame{{SPA_VIDEO_FORMAT_BGRx, width, height},
                    PixelBytes(static_cast<std::size_t>(width) * height * bytesPerFramePixel, 7)};
  for (auto _ : state) benchmark::DoNotOptimize(unpack(frame, {0, 0, width, height}).bytes.data());
}
BENCHMARK(unpackBgrx)->Unit(benchmark::kMillisecond);

// What the stream's thread does with each frame of a 5120x2880 monitor, and what copying it into
// memory that is mapped already takes.
constexpr std::int32_t largeWidth = 5120, largeHeight = 2880;
constexpr std::size_t largeSize = static_cast<std::size_t>(largeWidth) * largeHeight * bytesPerFramePixel;

void copyLargeFrames(benchmark::State& state) {
  PixelBytes memory(largeSize, 7);
  spa_chunk chunk{0, static_cast<std::uint32_t>(largeSize), largeWidth * 4, 0};
  spa_data data{};
  data.data = memory.data();
  data.maxsize = static_cast<std::uint32_t>(largeSize);
  data.chunk = &chunk;
  spa_buffer buffer{};
  buffer.n_datas = 1;
  buffer.datas = &data;
  CaptureState captured;
  const auto copyOne = [&] {
    PixelBytes storage = captured.takeStorage();
    BufferContent content = readBuffer(&buffer, {SPA_VIDEO_FORMAT_BGRx, largeWidth, largeHeight}, storage);
    captured.store(std::move(content.frame), content.cursor);
  };
  for (int i = 0; i < 3; ++i) copyOne();  // the pages of the first frames are mapped anew
  for (auto _ : state) copyOne();
}
BENCHMARK(copyLargeFrames)->Unit(benchmark::kMillisecond);

void copyLargeMemory(benchmark::State& state) {
  const PixelBytes memory(largeSize, 7);
  PixelBytes copy(largeSize, 0);
  for (auto _ : state) {
    std::memcpy(copy.data(), memory.data(), largeSize);
    benchmark::DoNotOptimize(copy.data());
  }
}
BENCHMARK(copyLargeMemory)->Unit(benchmark::kMillisecond);

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

void encodeToFastPng(benchmark::State& state) {
  const RgbImage image = desktopLike();
  for (auto _ : state) benchmark::DoNotOptimize(encodeFastPng(rowsOf(image)).data());
}
BENCHMARK(encodeToFastPng)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace ostler
