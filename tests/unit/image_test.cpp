#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <new>
#include <random>

#include <gtest/gtest.h>
#include <jpeglib.h>
#include <png.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include "bench/reference_resample.h"
#include "image/crop.h"
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

// A captured picture in packed RGB already.
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

Size pngSize(const std::vector<unsigned char>& file) {
  png_image image{};
  image.version = PNG_IMAGE_VERSION;
  if (png_image_begin_read_from_memory(&image, file.data(), file.size()) == 0) return {};
  png_image_free(&image);
  return {static_cast<std::int32_t>(image.width), static_cast<std::int32_t>(image.height)};
}

TEST(CropImage, ClampsToTheImage) {
  const RgbImage image = noise(120, 50);
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
  const std::pair<Rect, Rect> cases[] = {
      {{10, 20, 30, 20}, {10, 20, 30, 20}},
      {{100, 0, 50, 50}, {100, 0, 20, 50}},
      {{-10, -7, 50, 20}, {0, 0, 50, 20}},
      {{0, 45, most, most}, {0, 45, 120, 5}},
      {{120, 0, 5, 5}, {0, 0, 0, 5}},
      {{0, 1000, 5, 5}, {0, 0, 5, 0}},
      {{-most - 1, 0, most, 1}, {0, 0, 120, 1}},
      {{0, 0, -3, 4}, {0, 0, 0, 4}},
  };
  for (const auto& [wanted, taken] : cases) {
    const RgbImage result = cropImage(captureOf(image), wanted.x, wanted.y, wanted.width, wanted.height);
    ASSERT_EQ((Size{result.width, result.height}), (Size{taken.width, taken.height})) << wanted.x;
    const std::size_t rowBytes = static_cast<std::size_t>(result.width) * 3;
    for (std::int32_t y = 0; y < result.height && rowBytes > 0; ++y) {
      EXPECT_EQ(std::memcmp(result.row(y), image.row(taken.y + y) + taken.x * 3, rowBytes), 0) << wanted.x;
    }
  }
}

TEST(ResampleImage, IsTheAreaWeightedMean) {
  EXPECT_EQ(resampleImage(greyRow({0, 30, 90}), 2, 1).bytes, greyRow({10, 70}).bytes);
  EXPECT_EQ(resampleImage(greyRow({10, 20, 30, 40}), 2, 1).bytes, greyRow({15, 35}).bytes);
  EXPECT_EQ(resampleImage(greyRow({10, 20}), 3, 1).bytes, greyRow({10, 15, 20}).bytes);
  EXPECT_EQ(resampleImage(greyRow({0, 1}), 1, 1).bytes, greyRow({1}).bytes);
  EXPECT_EQ(resampleImage(greyRow({255, 255, 255}), 7, 1).bytes,
            greyRow({255, 255, 255, 255, 255, 255, 255}).bytes);
  // Fractions, enlargement, whole ratios, and more columns than one strip holds.
  const RgbImage image = noise(96, 60);
  for (const Size size : {Size{1, 1},
                          {64, 36},
                          {95, 60},
                          {96, 7},
                          {13, 200},
                          {193, 121},
                          {48, 30},
                          {32, 60},
                          {12, 20},
                          {1500, 3}}) {
    EXPECT_EQ(resampleImage(image, size.width, size.height).bytes,
              referenceResample(image, size.width, size.height).bytes)
        << size.width << 'x' << size.height;
  }
  EXPECT_THROW(resampleImage(image, 2147483647, 2147483647), std::length_error);
}

TEST(FinishCapture, LetsACropWinOverATarget) {
  struct {
    double scale;
    Size target;
    Rect crop;
    Size size;
  } const cases[] = {
      {1, {}, {}, {200, 100}},
      {1, {100, 50}, {}, {100, 50}},
      {1, {100, 0}, {}, {200, 100}},
      {1, {-1, 50}, {0, 0, 10, -5}, {200, 100}},
      {1, {100, 50}, {0, 0, 30, 20}, {30, 20}},
      {2, {}, {10, 10, 50, 30}, {100, 60}},
      {2, {100, 50}, {90, 0, 50, 30}, {20, 60}},
      {1.5, {}, {1, 0, 3, 1}, {5, 2}},
      {1, {}, {200, 0, 5, 5}, {}},
      {0.1, {}, {0, 0, 4, 4}, {}},
      {2, {}, {2147483647, 0, 1, 1}, {2, 2}},
  };
  for (const auto& item : cases) {
    const auto file =
        finishCapture(captureOf(noise(200, 100)), item.scale, item.scale, item.target, item.crop, -1.0);
    EXPECT_EQ(pngSize(file), item.size) << &item - cases;
  }
}

// The quality setting shows in the first entry of the luminance table.
TEST(EncodeJpeg, RoundsTheQualityAndLimitsIt) {
  const RgbImage image = noise(16, 16);
  const auto encodedAt = [&](int quality) { return encodeJpeg(image, quality / 100.0); };
  const std::pair<double, int> cases[] = {{-0.0, 0},
                                          {0.0, 0},
                                          {0.124, 12},
                                          {0.125, 13},
                                          {0.75, 75},
                                          {2.0, 100},
                                          {std::numeric_limits<double>::infinity(), 100}};
  for (const auto& [quality, same] : cases) EXPECT_EQ(encodeJpeg(image, quality), encodedAt(same)) << quality;
  EXPECT_NE(encodedAt(12), encodedAt(13));
  jpeg_decompress_struct info{};
  jpeg_error_mgr error{};
  info.err = jpeg_std_error(&error);
  jpeg_create_decompress(&info);
  const auto file = encodedAt(75);
  jpeg_mem_src(&info, file.data(), file.size());
  jpeg_read_header(&info, TRUE);
  EXPECT_EQ((Size{static_cast<int>(info.image_width), static_cast<int>(info.image_height)}), (Size{16, 16}));
  EXPECT_EQ(info.quant_tbl_ptrs[0]->quantval[0], 8);
  EXPECT_EQ(info.comp_info[0].h_samp_factor, 2);
  jpeg_destroy_decompress(&info);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)  // which take memory without end
// Ends the process with 0 if an encoder returned without a picture each time
// that the memory was too little for it.
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
    }
    setrlimit(RLIMIT_AS, &usual);
  }
  std::exit(failures > 0 && !encode(image).empty() ? 0 : 1);
}

TEST(Encoders, FailQuietlyWithoutMemory) {
  const auto encodeBest = [](const RgbImage& image) { return encodeJpeg(image, 1); };
  EXPECT_EXIT(encodeWithoutMemory(encodeBest), testing::ExitedWithCode(0), "^$");
  EXPECT_EXIT(encodeWithoutMemory(encodePng), testing::ExitedWithCode(0), "^$");
}
#endif

TEST(Encoders, RefuseQuietlyAnImageWithoutPixels) {
  const int usualStderr = dup(STDERR_FILENO), written = memfd_create("stderr", 0);
  dup2(written, STDERR_FILENO);
  for (const Size size : {Size{0, 5}, {5, 0}, {0, 0}}) {
    EXPECT_TRUE(encodeJpeg(RgbImage(size.width, size.height), 1).empty());
    EXPECT_TRUE(encodePng(RgbImage(size.width, size.height)).empty());
  }
  dup2(usualStderr, STDERR_FILENO);
  EXPECT_EQ(lseek(written, 0, SEEK_CUR), 0) << "a library wrote to stderr";
  close(usualStderr);
  close(written);
}

// Last, for what it frees would serve an encoder that is to run out of memory.
TEST(Encoders, RefuseATooLargeTargetBeforeItIsMade) {
  for (const auto& [quality, limit] : {std::pair{0.5, 65500}, {-1.0, 1000000}}) {
    const auto isRefused = [quality = quality](Size target) {
      return finishCapture(captureOf(noise(2, 2)), 1, 1, target, {}, quality).empty();
    };
    EXPECT_FALSE(isRefused({limit, 1}));
    EXPECT_FALSE(isRefused({1, limit}));
    // No memory would hold these.
    EXPECT_TRUE(isRefused({2147483647, limit}));
    EXPECT_TRUE(isRefused({limit, 2147483647}));
  }
}

}  // namespace
}  // namespace ostler
