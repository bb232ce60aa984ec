// Tests the handling of formats and buffers that a PipeWire server may send.

#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include "wayland/stream/buffer_content.h"
#include "wayland/stream/capture_state.h"
#include "wayland/stream/stream_format.h"
#include "wayland/stream/unpack.h"

namespace ostler {
namespace {

TEST(StreamFormat, AsksForBuffersOfTheSizeOfAFrame) {
  constexpr std::int32_t least = std::numeric_limits<std::int32_t>::min();
  constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
  const struct {
    const char* name;
    std::int32_t width, height, size, stride;
  } cases[] = {
      {"1080p", 1920, 1080, 8294400, 7680},
      {"no size", 0, 0, 0, 0},
      {"rows longer than a buffer", most, 1, most, most},
      {"the largest size", most, most, most, most},
      {"the smallest size", least, least, most, least},
  };
  for (const auto& [name, width, height, size, stride] : cases) {
    PodStorage storage;
    const spa_pod* const pod = buildBufferParams(storage, {SPA_VIDEO_FORMAT_BGRx, width, height})[0];
    const auto valueOf = [&](std::uint32_t key) {
      std::int32_t value = -1;
      spa_pod_get_int(&spa_pod_find_prop(pod, nullptr, key)->value, &value);
      return value;
    };
    EXPECT_EQ(valueOf(SPA_PARAM_BUFFERS_size), size) << name;
    EXPECT_EQ(valueOf(SPA_PARAM_BUFFERS_stride), stride) << name;
  }
}

// Holds a buffer as a server sends it: 3 x 2 pixels in rows without padding, with both kinds of
// metadata. The memory has exactly the declared size, so that AddressSanitizer detects a read past
// its end.
struct TestBuffer {
  TestBuffer() { resize(24); }
  TestBuffer(const TestBuffer&) = delete;

  void resize(std::size_t size) {
    memory.resize(size);
    for (std::size_t i = 0; i < size; ++i) memory[i] = static_cast<unsigned char>(i + 1);
    data.data = memory.data();
    data.maxsize = chunk.size = static_cast<std::uint32_t>(size);
  }

  BufferContent take() {
    const spa_buffer buffer{2, blocks, metas, &data};
    PixelBytes storage;
    return readBuffer(&buffer, format, storage);
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

TEST(BufferContent, DiscardsBuffersWithoutAValidPicture) {
  const std::pair<const char*, Change> cases[] = {
      {"no block", [](TestBuffer& b) { b.blocks = 0; }},
      {"not mapped", [](TestBuffer& b) { b.data.data = nullptr; }},
      {"no chunk", [](TestBuffer& b) { b.data.chunk = nullptr; }},
      {"corrupted", [](TestBuffer& b) { b.header.flags = SPA_META_HEADER_FLAG_CORRUPTED | 1; }},
      {"empty", [](TestBuffer& b) { b.chunk.size = 0; }},
      {"no format yet", [](TestBuffer& b) { b.format = {}; }},
      {"negative height", [](TestBuffer& b) { b.format.height = -1; }},
      {"one byte short", [](TestBuffer& b) { b.data.maxsize -= 1; }},
      {"shorter than a row", [](TestBuffer& b) { b.data.maxsize = 11; }},
      {"offset too large by one", [](TestBuffer& b) { b.chunk.offset = 1; }},
      {"largest offset", [](TestBuffer& b) { b.chunk.offset = 0xffffffff; }},
      {"stride too large by one", [](TestBuffer& b) { b.chunk.stride = 13; }},
      {"largest stride", [](TestBuffer& b) { b.chunk.stride = 0x7fffffff; }},
      {"overlapping rows", [](TestBuffer& b) { b.chunk.stride = 1, b.format.height = 3; }},
      {"largest size", [](TestBuffer& b) { b.format.width = b.format.height = 0x7fffffff; }},
  };
  for (const auto& [name, change] : cases) {
    TestBuffer buffer;
    change(buffer);
    const BufferContent content = buffer.take();
    EXPECT_FALSE(content.frame || content.cursor) << name;
  }
}

TEST(BufferContent, TakesTheCursorOfABufferThatHasNoPicture) {
  for (const std::uint32_t size : {24U, 0U}) {  // as KWin has it, and GNOME
    TestBuffer buffer;
    buffer.chunk.size = size;
    buffer.chunk.flags = SPA_CHUNK_FLAG_CORRUPTED;
    const BufferContent content = buffer.take();
    EXPECT_FALSE(content.frame) << size;
    EXPECT_EQ(content.cursor, (Point{5, -6})) << size;
  }
}

TEST(BufferContent, ReadsRowsAndCursorAtTheirOffsets) {
  const struct {
    const char* name;
    Change change;
    std::size_t firstRow = 0, secondRow = 12;  // in memory
    std::optional<Point> cursor = Point{5, -6};
  } cases[] = {
      {"tight rows", [](TestBuffer&) {}},
      {"no stride", [](TestBuffer& b) { b.chunk.stride = 0; }},
      {"negative stride", [](TestBuffer& b) { b.chunk.stride = -12; }},
      {"chunk smaller than the picture", [](TestBuffer& b) { b.chunk.size = 1; }},
      {"last row cut at its end", [](TestBuffer& b) { b.resize(32), b.chunk.stride = 20; }, 0, 20},
      {"offset", [](TestBuffer& b) { b.resize(88), b.chunk.offset = 64; }, 64, 76},
      {"offset and stride", [](TestBuffer& b) { b.resize(100), b.chunk.offset = 8, b.chunk.stride = 16; }, 8,
       24},
      {"cursor unchanged", [](TestBuffer& b) { b.cursor.id = 0; }, 0, 12, std::nullopt},
      {"cursor metadata too short", [](TestBuffer& b) { b.metas[1].size = 27; }, 0, 12, std::nullopt},
      {"header too short",
       [](TestBuffer& b) { b.metas[0].size = 31, b.header.flags = SPA_META_HEADER_FLAG_CORRUPTED; }},
  };
  for (const auto& [name, change, firstRow, secondRow, cursor] : cases) {
    TestBuffer buffer;
    change(buffer);
    const BufferContent content = buffer.take();
    ASSERT_TRUE(content.frame) << name;
    std::vector<unsigned char> expected;
    for (const std::size_t row : {firstRow, secondRow}) {
      expected.insert(expected.end(), &buffer.memory[row], &buffer.memory[row] + 12);
    }
    const PixelBytes& bytes = content.frame->bytes;
    EXPECT_EQ(std::vector<unsigned char>(bytes.begin(), bytes.end()), expected) << name;
    EXPECT_EQ(content.frame->format, buffer.format) << name;
    EXPECT_EQ(content.cursor, cursor) << name;
  }
}

TEST(CaptureState, ReusesTheStorageOfAFrameThatNobodyShares) {
  CaptureState state;
  const auto store = [&state](unsigned char value) {
    PixelBytes bytes = state.takeStorage();
    bytes.resize(16);
    bytes[0] = value;
    const unsigned char* const storage = bytes.data();
    state.store(Frame{{SPA_VIDEO_FORMAT_BGRx, 2, 2}, std::move(bytes)}, std::nullopt);
    return storage;
  };
  const unsigned char* const first = store(1);
  std::shared_ptr<const Frame> shared = state.latestFrame();
  const unsigned char* const second = store(2);
  EXPECT_NE(second, first);
  EXPECT_EQ(shared->bytes[0], 1) << "a frame changed while it was shared";
  shared.reset();
  EXPECT_EQ(store(3), first);
  EXPECT_EQ(store(4), second);
  EXPECT_EQ(state.latestFrame()->bytes[0], 4);
}

// A PipeWire 1.4 server clears the format when the source of the stream disappears.
TEST(CaptureState, FailsOnceTheFormatHasBeenClearedForAWhile) {
  CaptureState state;
  const auto isRunning = [&] {
    try {
      state.waitForFirstFrame(std::chrono::steady_clock::now());
      return true;
    } catch (const std::runtime_error&) {
      return false;
    }
  };
  state.store(Frame{}, std::nullopt);
  state.clearFormat();
  EXPECT_TRUE(isRunning());
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  EXPECT_FALSE(isRunning());
  state.setFormat({});
  EXPECT_TRUE(isRunning());
}

// The widths are near multiples of the number of pixels that a vectorised loop handles at once.
TEST(Unpack, ConvertsAPartInFourFormats) {
  for (std::uint32_t videoFormat = 0; videoFormat < 100; ++videoFormat) {
    const bool blueFirst = videoFormat == SPA_VIDEO_FORMAT_BGRx || videoFormat == SPA_VIDEO_FORMAT_BGRA;
    if (!blueFirst && videoFormat != SPA_VIDEO_FORMAT_RGBx && videoFormat != SPA_VIDEO_FORMAT_RGBA) {
      EXPECT_THROW(unpack({{videoFormat, 1, 1}, PixelBytes(4)}, {0, 0, 1, 1}), std::runtime_error);
      continue;
    }
    for (const std::int32_t width : {1, 3, 5, 15, 16, 17, 33, 67}) {
      Frame frame{{videoFormat, width + 2, 5}, PixelBytes(static_cast<std::size_t>(width + 2) * 5 * 4)};
      for (std::size_t i = 0; i < frame.bytes.size(); ++i)
        frame.bytes[i] = static_cast<unsigned char>(i * 37);
      const RgbImage image = unpack(frame, {1, 1, width, 3});
      for (std::int32_t y = 0; y < 3; ++y) {
        const unsigned char* row = &frame.bytes[static_cast<std::size_t>((y + 1) * (width + 2) + 1) * 4];
        for (std::int32_t i = 0; i < width * 3; ++i) {
          const std::int32_t colour = blueFirst ? 2 - i % 3 : i % 3;
          ASSERT_EQ(image.row(y)[i], row[i / 3 * 4 + colour])
              << videoFormat << " " << width << " " << y << " " << i;
        }
      }
    }
  }
}

}  // namespace
}  // namespace ostler
