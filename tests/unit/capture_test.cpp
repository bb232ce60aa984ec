// From a buffer of the PipeWire server's to an image.

#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>
#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

#include "wayland/stream/frame_intake.h"
#include "wayland/stream/unpack.h"

namespace ostler {
namespace {

// A buffer as a server gives it, 3 x 2 pixels in tight rows, with both kinds of
// metadata. The memory is exactly as long as it says, so that AddressSanitizer
// sees a read past it.
struct TestBuffer {
  TestBuffer() { resize(24); }
  TestBuffer(const TestBuffer&) = delete;

  void resize(std::size_t size) {
    memory.resize(size);
    for (std::size_t i = 0; i < size; ++i) memory[i] = static_cast<unsigned char>(i + 1);
    data.data = memory.data();
    data.maxsize = chunk.size = static_cast<std::uint32_t>(size);
  }

  std::optional<FrameIntake> take() {
    const spa_buffer buffer{2, blocks, metas, &data};
    return takeIn(&buffer, format);
  }

  std::vector<unsigned char> memory;
  spa_chunk chunk{0, 0, 12, 0};
  spa_meta_header header{};
  spa_meta_cursor cursor{7, 0, {5, -6}, {}, 0};
  spa_meta metas[2] = {{SPA_META_Header, sizeof header, &header}, {SPA_META_Cursor, sizeof cursor, &cursor}};
  spa_data data{SPA_DATA_MemPtr, 0, -1, 0, 0, nullptr, &chunk};
  StreamFormat format{SPA_VIDEO_FORMAT_BGRx, 3, 2};
  std::uint32_t blocks = 1;
};

using Change = void (*)(TestBuffer&);

TEST(FrameIntake, DiscardsWhatIsNoPicture) {
  int number = 0;
  for (const Change change : std::initializer_list<Change>{
           [](TestBuffer& b) { b.blocks = 0; },
           [](TestBuffer& b) { b.data.data = nullptr; },
           [](TestBuffer& b) { b.data.chunk = nullptr; },
           [](TestBuffer& b) { b.header.flags = SPA_META_HEADER_FLAG_CORRUPTED | 1; },
           [](TestBuffer& b) { b.chunk.size = 0; },  // a cursor only
           [](TestBuffer& b) { b.format = {}; },
           [](TestBuffer& b) { b.format.height = -1; },
           [](TestBuffer& b) { b.data.maxsize -= 1; },
           [](TestBuffer& b) { b.data.maxsize = 11; },
           [](TestBuffer& b) { b.chunk.offset = 1; },
           [](TestBuffer& b) { b.chunk.offset = 0xffffffff; },
           [](TestBuffer& b) { b.chunk.stride = 13; },
           [](TestBuffer& b) { b.chunk.stride = 0x7fffffff; },
           [](TestBuffer& b) { b.chunk.stride = 1, b.format.height = 3; },  // more than the buffer has
           [](TestBuffer& b) { b.format.width = b.format.height = 0x7fffffff; },
       }) {
    TestBuffer buffer;
    change(buffer);
    EXPECT_FALSE(buffer.take()) << number;
    ++number;
  }
}

TEST(FrameIntake, TakesRowsAndCursorFromWhereTheyAre) {
  const struct {
    Change change;
    std::size_t firstRow = 0, secondRow = 12;  // in memory
    std::optional<Point> cursor = Point{5, -6};
  } cases[] = {
      {[](TestBuffer&) {}},
      {[](TestBuffer& b) { b.chunk.stride = 0; }},
      {[](TestBuffer& b) { b.chunk.stride = -12; }},
      {[](TestBuffer& b) { b.chunk.size = 1; }},
      {[](TestBuffer& b) { b.resize(32), b.chunk.stride = 20; }, 0, 20},  // the last row is cut at its end
      {[](TestBuffer& b) { b.resize(88), b.chunk.offset = 64; }, 64, 76},
      {[](TestBuffer& b) { b.resize(100), b.chunk.offset = 8, b.chunk.stride = 16; }, 8, 24},
      {[](TestBuffer& b) { b.cursor.id = 0; }, 0, 12, std::nullopt},
      {[](TestBuffer& b) { b.metas[1].size = 27; }, 0, 12, std::nullopt},
      {[](TestBuffer& b) { b.metas[0].size = 31, b.header.flags = SPA_META_HEADER_FLAG_CORRUPTED; }},
  };
  for (const auto& [change, firstRow, secondRow, cursor] : cases) {
    TestBuffer buffer;
    change(buffer);
    const std::optional<FrameIntake> intake = buffer.take();
    ASSERT_TRUE(intake) << firstRow << " " << secondRow;
    std::vector<unsigned char> expected;
    for (const std::size_t row : {firstRow, secondRow}) {
      expected.insert(expected.end(), &buffer.memory[row], &buffer.memory[row] + 12);
    }
    const PixelBytes& bytes = intake->frame.bytes;
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin(), bytes.end()), expected);
    EXPECT_EQ(intake->frame.format, buffer.format);
    EXPECT_EQ(intake->cursor, cursor);
  }
}

// Sizes around the number of pixels that a vectorised loop takes at a time.
TEST(Unpack, TakesTheColoursOfEachPixelInFourFormats) {
  for (std::uint32_t videoFormat = 0; videoFormat < 100; ++videoFormat) {
    const bool blueFirst = videoFormat == SPA_VIDEO_FORMAT_BGRx || videoFormat == SPA_VIDEO_FORMAT_BGRA;
    if (!blueFirst && videoFormat != SPA_VIDEO_FORMAT_RGBx && videoFormat != SPA_VIDEO_FORMAT_RGBA) {
      EXPECT_THROW(unpack({{videoFormat, 1, 1}, PixelBytes(4)}), std::runtime_error);
      continue;
    }
    for (const std::int32_t width : {1, 3, 5, 15, 16, 17, 33, 67}) {
      Frame frame{{videoFormat, width, 3}, PixelBytes(static_cast<std::size_t>(width) * 3 * 4)};
      for (std::size_t i = 0; i < frame.bytes.size(); ++i)
        frame.bytes[i] = static_cast<unsigned char>(i * 37);
      const RgbImage image = unpack(frame);
      ASSERT_EQ(image.bytes.size(), frame.bytes.size() / 4 * 3);
      for (std::size_t i = 0; i < image.bytes.size(); ++i) {
        const std::size_t colour = blueFirst ? 2 - i % 3 : i % 3;
        ASSERT_EQ(image.bytes[i], frame.bytes[i / 3 * 4 + colour]) << videoFormat << " " << width << " " << i;
      }
    }
  }
}

}  // namespace
}  // namespace ostler
