#include "wayland/unpack.h"

#include <stdexcept>

#include <gtest/gtest.h>
#include <spa/param/video/raw.h>

namespace ostler {
namespace {

// Sizes around the number of pixels that a vectorised loop takes at a time.
TEST(Unpack, TakesTheColoursOfEachPixelInEveryFormat) {
  const struct {
    std::uint32_t videoFormat;
    std::size_t red, blue;
  } cases[] = {{SPA_VIDEO_FORMAT_BGRx, 2, 0},
               {SPA_VIDEO_FORMAT_BGRA, 2, 0},
               {SPA_VIDEO_FORMAT_RGBx, 0, 2},
               {SPA_VIDEO_FORMAT_RGBA, 0, 2}};
  for (const auto& [videoFormat, red, blue] : cases) {
    for (const std::int32_t width : {1, 3, 5, 15, 16, 17, 33, 67}) {
      Frame frame{{videoFormat, width, 3}, PixelBytes(static_cast<std::size_t>(width) * 3 * 4)};
      for (std::size_t i = 0; i < frame.bytes.size(); ++i)
        frame.bytes[i] = static_cast<unsigned char>(i * 37);
      const RgbImage image = unpack(frame);
      ASSERT_EQ(image.width, width);
      ASSERT_EQ(image.height, 3);
      ASSERT_EQ(image.bytes.size(), frame.bytes.size() / 4 * 3);
      for (std::size_t i = 0; i < frame.bytes.size() / 4; ++i) {
        const unsigned char* const pixel = &frame.bytes[i * 4];
        ASSERT_EQ(image.bytes[i * 3], pixel[red]) << videoFormat << " " << width << " " << i;
        ASSERT_EQ(image.bytes[i * 3 + 1], pixel[1]) << videoFormat << " " << width << " " << i;
        ASSERT_EQ(image.bytes[i * 3 + 2], pixel[blue]) << videoFormat << " " << width << " " << i;
      }
    }
  }
  EXPECT_THROW(unpack({{SPA_VIDEO_FORMAT_RGB, 1, 1}, PixelBytes(4)}), std::runtime_error);
}

}  // namespace
}  // namespace ostler
