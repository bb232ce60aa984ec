#include "wayland/frame_intake.h"

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

namespace ostler {
namespace {

constexpr std::int32_t width = 3;
constexpr std::int32_t height = 2;
constexpr std::size_t rowBytes = std::size_t{width} * 4;

// A buffer as a server gives it, 3 x 2 pixels in tight rows, with both kinds of
// metadata. The memory is exactly as long as it says, so that AddressSanitizer
// sees a read past it.
struct TestBuffer {
  TestBuffer() { resize(rowBytes * height); }
  TestBuffer(const TestBuffer&) = delete;

  void resize(std::size_t size) {
    memory.resize(size);
    for (std::size_t i = 0; i < size; ++i) memory[i] = static_cast<unsigned char>(i + 1);
    data.data = memory.data();
    data.maxsize = static_cast<std::uint32_t>(size);
    chunk.size = data.maxsize;
  }

  std::vector<unsigned char> memory;
  spa_chunk chunk{0, 0, static_cast<std::int32_t>(rowBytes), 0};
  spa_meta_header header{};
  spa_meta_cursor cursor{7, 0, {5, -6}, {}, 0};
  std::vector<spa_meta> metas{{SPA_META_Header, sizeof header, &header},
                              {SPA_META_Cursor, sizeof cursor, &cursor}};
  spa_data data{SPA_DATA_MemPtr, 0, -1, 0, 0, nullptr, &chunk};
  StreamFormat format{SPA_VIDEO_FORMAT_BGRx, width, height};
  std::uint32_t blocks = 1;

  std::optional<FrameIntake> take() {
    const spa_buffer buffer{static_cast<std::uint32_t>(metas.size()), blocks, metas.data(), &data};
    return takeIn(&buffer, format);
  }
};

using Change = std::function<void(TestBuffer&)>;

TEST(FrameIntake, DiscardsWhatIsNoPicture) {
  EXPECT_FALSE(takeIn(nullptr, {SPA_VIDEO_FORMAT_BGRx, width, height}));
  const struct {
    const char* what;
    Change change;
  } cases[] = {
      {"no block", [](TestBuffer& b) { b.blocks = 0; }},
      {"not mapped", [](TestBuffer& b) { b.data.data = nullptr; }},
      {"corrupted", [](TestBuffer& b) { b.header.flags = SPA_META_HEADER_FLAG_CORRUPTED | 1; }},
      {"no chunk", [](TestBuffer& b) { b.data.chunk = nullptr; }},
      {"cursor only", [](TestBuffer& b) { b.chunk.size = 0; }},
      {"no width yet", [](TestBuffer& b) { b.format.width = 0; }},
      {"height beyond int32", [](TestBuffer& b) { b.format.height = -1; }},
      {"no width yet, nor a format", [](TestBuffer& b) { b.format = {}; }},
      {"one byte short", [](TestBuffer& b) { b.data.maxsize -= 1; }},
      {"shorter than a row", [](TestBuffer& b) { b.data.maxsize = rowBytes - 1; }},
      {"moved past the end", [](TestBuffer& b) { b.chunk.offset = 1; }},
      {"offset beyond everything", [](TestBuffer& b) { b.chunk.offset = 0xffffffff; }},
      {"stride past the end", [](TestBuffer& b) { b.chunk.stride = rowBytes + 1; }},
      {"stride beyond everything", [](TestBuffer& b) { b.chunk.stride = 0x7fffffff; }},
      {"size beyond everything", [](TestBuffer& b) { b.format.width = b.format.height = 0x7fffffff; }},
  };
  for (const auto& [what, change] : cases) {
    TestBuffer buffer;
    change(buffer);
    EXPECT_FALSE(buffer.take()) << what;
  }
}

TEST(FrameIntake, CopiesTheRowsFromWhereTheyAre) {
  const struct {
    const char* what;
    Change change;
    std::size_t firstRow, secondRow;  // in memory
  } cases[] = {
      {"tight", [](TestBuffer&) {}, 0, 12},
      {"stride 0", [](TestBuffer& b) { b.chunk.stride = 0; }, 0, 12},
      {"negative stride", [](TestBuffer& b) { b.chunk.stride = -12; }, 0, 12},
      {"chunk size has no say", [](TestBuffer& b) { b.chunk.size = 1; }, 0, 12},
      {"wide rows, the last one cut at its end",
       [](TestBuffer& b) { b.resize(20 + 12), b.chunk.stride = 20; }, 0, 20},
      {"offset", [](TestBuffer& b) { b.resize(64 + 24), b.chunk.offset = 64; }, 64, 76},
      {"offset and wide rows", [](TestBuffer& b) { b.resize(100), b.chunk.offset = 8, b.chunk.stride = 16; },
       8, 24},
  };
  for (const auto& [what, change, firstRow, secondRow] : cases) {
    TestBuffer buffer;
    change(buffer);
    const std::optional<FrameIntake> intake = buffer.take();
    ASSERT_TRUE(intake) << what;
    EXPECT_EQ(intake->frame.format, buffer.format) << what;
    std::vector<unsigned char> expected;
    for (const std::size_t row : {firstRow, secondRow}) {
      expected.insert(expected.end(), &buffer.memory[row], &buffer.memory[row] + rowBytes);
    }
    EXPECT_EQ(std::vector<unsigned char>(intake->frame.bytes.begin(), intake->frame.bytes.end()), expected)
        << what;
  }
}

TEST(FrameIntake, ReadsMetadataThatIsWhole) {
  const spa_meta_cursor other{9, 0, {1, 1}, {}, 0};
  const struct {
    const char* what;
    Change change;
    std::optional<Point> cursor;
  } cases[] = {
      {"cursor", [](TestBuffer&) {}, Point{5, -6}},
      {"no metadata", [](TestBuffer& b) { b.metas.clear(); }, std::nullopt},
      {"nothing new", [](TestBuffer& b) { b.cursor.id = 0; }, std::nullopt},
      {"cursor too short", [](TestBuffer& b) { b.metas[1].size = 27; }, std::nullopt},
      {"cursor without memory", [](TestBuffer& b) { b.metas[1].data = nullptr; }, std::nullopt},
      {"only the first cursor counts",
       [&](TestBuffer& b) {
         b.cursor.id = 0;
         b.metas.push_back({SPA_META_Cursor, sizeof other, const_cast<spa_meta_cursor*>(&other)});
       },
       std::nullopt},
      {"a corrupted flag too short to count",
       [](TestBuffer& b) {
         b.header.flags = SPA_META_HEADER_FLAG_CORRUPTED;
         b.metas[0].size = 31;
       },
       Point{5, -6}},
  };
  for (const auto& [what, change, cursor] : cases) {
    TestBuffer buffer;
    change(buffer);
    const std::optional<FrameIntake> intake = buffer.take();
    ASSERT_TRUE(intake) << what;
    EXPECT_EQ(intake->cursor, cursor) << what;
  }
}

TEST(FrameIntake, RefusesFormatsThatCannotBeUnpacked) {
  TestBuffer buffer;
  buffer.format.videoFormat = SPA_VIDEO_FORMAT_RGBA;
  EXPECT_TRUE(buffer.take());
  buffer.format.videoFormat = SPA_VIDEO_FORMAT_NV12;
  EXPECT_THROW(buffer.take(), std::runtime_error);
}

}  // namespace
}  // namespace ostler
