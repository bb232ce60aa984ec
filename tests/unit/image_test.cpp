#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <new>
#include <random>

#include <gtest/gtest.h>
#include <png.h>
#include <sys/resource.h>
#include <unistd.h>

#include "bench/reference_resample.h"
#include "image/encode_fast_png.h"
#include "image/encode_jpeg.h"
#include "image/encode_png.h"
#include "image/finish_capture.h"
#include "image/resample.h"

namespace ostler {
namespace {

RgbImage noise(std::int32_t width, std::int32_t height) {
  RgbImage image(width, height);
  std::mt19937 random(1);
  for (auto& byte : image.bytes) byte = static_cast<unsigned char>(random());
  return image;
}

// Makes a capture whose pixels are already packed RGB.
Capture captureOf(RgbImage image) {
  const Size size{image.width, image.height};
  auto copyPart = [image = std::move(image)](const Rect& part) {
    RgbImage result(part.width, part.height);
    for (std::int32_t y = 0; y < part.height; ++y) {
      std::copy_n(image.row(part.y + y) + part.x * 3, part.width * 3, result.row(y));
    }
    return result;
  };
  return {size, std::move(copyPart)};
}

RgbImage greyRow(std::initializer_list<unsigned char> values) {
  RgbImage image(static_cast<std::int32_t>(values.size()), 1);
  unsigned char* out = image.bytes.data();
  for (const unsigned char value : values) out = std::fill_n(out, 3, value);
  return image;
}

// Decodes a PNG; returns an empty image if it is invalid.
RgbImage decodePng(const std::vector<unsigned char>& file) {
  png_image info{};
  info.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_memory(&info, file.data(), file.size()) == 0) return RgbImage(0, 0);
  info.format = PNG_FORMAT_RGB;
  RgbImage image(static_cast<std::int32_t>(info.width), static_cast<std::int32_t>(info.height));
  png_image_finish_read(&info, nullptr, image.bytes.data(), 0, nullptr);
  return image;
}

TEST(ResampleImage, IsTheAreaWeightedMean) {
  const struct {
    const char* name;
    RgbImage from, to;
  } rows[] = {
      {"half of a pixel each", greyRow({0, 30, 90}), greyRow({10, 70})},
      {"enlarged", greyRow({10, 20}), greyRow({10, 15, 20})},
      {"a half is rounded up", greyRow({0, 1}), greyRow({1})},
  };
  for (const auto& [name, from, to] : rows)
    EXPECT_EQ(resampleImage(from, to.width, 1).bytes, to.bytes) << name;

  const RgbImage image = noise(96, 60);
  const std::pair<const char*, Size> sizes[] = {
      {"one pixel", {1, 1}},
      {"fractions", {64, 36}},
      {"one column less", {95, 60}},
      {"fewer columns, more rows", {13, 200}},
      {"enlarged", {193, 121}},
      {"half", {48, 30}},
      {"a third of the columns", {32, 60}},
      {"the largest whole ratio with a table", {12, 20}},
      {"more columns than one strip holds", {1500, 3}},
  };
  for (const auto& [name, size] : sizes) {
    const RgbImage expected = referenceResample(image, size.width, size.height);
    EXPECT_EQ(resampleImage(image, size.width, size.height).bytes, expected.bytes) << name;
  }
  EXPECT_THROW(resampleImage(image, 2147483647, 2147483647), std::length_error);
}

TEST(FinishCapture, PrefersACropToATarget) {
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max(), least = -most - 1;
  const RgbImage image = noise(200, 100);
  const struct {
    const char* name;
    double scale;
    Size target;
    Rect crop;
    Rect part;  // the expected part of the image, or the expected size after resampling
  } cases[] = {
      {"neither target nor crop", 1, {}, {}, {0, 0, 200, 100}},
      {"target", 1, {100, 50}, {}, {0, 0, 100, 50}},
      {"target and crop each without a height", 1, {100, 0}, {0, 0, 10, -5}, {0, 0, 200, 100}},
      {"crop and target", 1, {100, 50}, {10, 20, 30, 20}, {10, 20, 30, 20}},
      {"beyond the right edge", 1, {}, {180, 0, 50, 50}, {180, 0, 20, 50}},
      {"beyond the left and upper edges", 1, {}, {-10, -7, 50, 20}, {0, 0, 50, 20}},
      {"far beyond the lower edge", 1, {}, {0, 95, most, most}, {0, 95, 200, 5}},
      {"from far left", 1, {}, {least, 0, most, 1}, {0, 0, 200, 1}},
      {"outside", 1, {}, {200, 0, 5, 5}, {}},
      {"two pixels a unit", 2, {}, {90, 5, 50, 30}, {180, 10, 20, 60}},
      {"rounded pixels", 1.5, {}, {1, 0, 3, 1}, {2, 0, 5, 2}},
      {"less than half a pixel", 0.1, {}, {0, 0, 4, 4}, {}},
      {"a product that overflows", 2, {}, {most, 0, 1, 1}, {0, 0, 2, 2}},
  };
  for (const auto& [name, scale, target, crop, part] : cases) {
    const RgbImage result = decodePng(finishCapture(captureOf(image), scale, scale, target, crop, -1.0));
    ASSERT_EQ((Size{result.width, result.height}), (Size{part.width, part.height})) << name;
    if (target == Size{part.width, part.height}) continue;
    for (std::int32_t y = 0; y < part.height; ++y) {
      const unsigned char* const expected = image.row(part.y + y) + part.x * 3;
      ASSERT_TRUE(std::equal(expected, expected + part.width * 3, result.row(y))) << name << ", row " << y;
    }
  }
}

TEST(EncodeJpeg, RoundsTheQualityAndLimitsIt) {
  const RgbImage image = noise(16, 16);
  const auto encodedAt = [&](int quality) { return encodeJpeg(image, quality / 100.0); };
  for (const auto& [quality, same] :
       {std::pair{-0.0, 0}, {0.124, 12}, {0.125, 13}, {2.0, 100}, {INFINITY, 100}}) {
    EXPECT_EQ(encodeJpeg(image, quality), encodedAt(same)) << "quality " << quality;
  }
  EXPECT_EQ(encodedAt(75).at(25), 8) << "the first entry of the luminance table";
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which reserve too much address space
// Limits the memory more and more loosely and encodes each time. Exits with 0 if the encoder
// failed at least once, and returns a picture without a limit.
template <typename Encode>
void encodeWithoutMemory(Encode encode) {
  const RgbImage image = noise(500, 500);
  rlim_t pages = 0;
  std::ifstream("/proc/self/statm") >> pages;
  rlimit usual;
  getrlimit(RLIMIT_AS, &usual);
  int failures = 0;
  for (rlim_t spare = 8192; spare < 4000000; spare += spare / 4) {
    const rlimit memory{pages * static_cast<rlim_t>(getpagesize()) + spare, usual.rlim_max};
    setrlimit(RLIMIT_AS, &memory);
    try {
      failures += encode(image).empty();
    } catch (const std::bad_alloc&) {
      ++failures;
    }
    setrlimit(RLIMIT_AS, &usual);
  }
  std::exit(failures > 0 && !encode(image).empty() ? 0 : 1);
}

TEST(Encoders, FailSilentlyWithoutMemory) {
  const auto encodeBest = [](const RgbImage& image) { return encodeJpeg(image, 1); };
  EXPECT_EXIT(encodeWithoutMemory(encodeBest), testing::ExitedWithCode(0), "^$");
  EXPECT_EXIT(encodeWithoutMemory(encodePng), testing::ExitedWithCode(0), "^$");
  const auto encodeFast = [](const RgbImage& image) { return encodeFastPng(rowsOf(image)); };
  EXPECT_EXIT(encodeWithoutMemory(encodeFast), testing::ExitedWithCode(0), "^$");
}
#endif

TEST(Encoders, RejectAnImageWithoutPixelsSilently) {
  for (const Size size : {Size{0, 5}, {5, 0}, {0, 0}}) {
    const RgbImage image(size.width, size.height);
    const auto encodesNothing = [&] {
      return encodeJpeg(image, 1).empty() && encodePng(image).empty() && encodeFastPng(rowsOf(image)).empty();
    };
    EXPECT_EXIT(std::exit(encodesNothing() ? 0 : 1), testing::ExitedWithCode(0), "^$")
        << size.width << "x" << size.height;
  }
}

// The memory that this test and the next free would be available to the test of encoders without
// memory, so they are the last ones.
TEST(Encoders, RejectATooLargeTargetBeforeResampling) {
  const auto isRefused = [](Size target, double quality) {
    return finishCapture(captureOf(noise(2, 2)), 1, 1, target, {}, quality).empty();
  };
  for (const auto& [quality, limit] : {std::pair{0.5, 65500}, {-1.0, 1000000}}) {
    EXPECT_FALSE(isRefused({limit, 1}, quality));
    EXPECT_FALSE(isRefused({1, limit}, quality));
    // No machine has the memory for these sizes.
    EXPECT_TRUE(isRefused({2147483647, limit}, quality));
    EXPECT_TRUE(isRefused({limit, 2147483647}, quality));
  }
}

TEST(EncodeFastPng, ShowsEveryRow) {
  for (const std::int32_t height : {1, 64, 65, 128, 129, 257, 500}) {
    const RgbImage image = noise(37, height);
    const auto decoded = [](const PixelRows& rows) { return decodePng(encodeFastPng(rows)).bytes; };
    EXPECT_EQ(decoded(rowsOf(image)), image.bytes) << height << " rows";
    // The same bytes are other pixels, each with one byte that means nothing.
    for (const PixelOrder order : {PixelOrder::rgbx, PixelOrder::bgrx}) {
      const PixelRows rows{image.bytes.data(), 37 * 3, 27, height, order};
      EXPECT_EQ(decoded(rows), toRgbImage(rows).bytes) << height << " rows";
    }
  }
}

}  // namespace
}  // namespace ostler
