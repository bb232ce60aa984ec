#include "image/encode_fast_png.h"

#include <algorithm>
#include <array>
#include <future>
#include <new>
#include <string_view>
#include <system_error>

#include <zlib.h>

#include "image/encode_png.h"

namespace ostler {
namespace {

// With Chromium's zlib, which Node and the package contain, level 2 is as fast as level 1.
constexpr int level = 2;
constexpr std::array<unsigned char, 2> zlibHeader = {0x78, 0x5e};

// A picture is compressed in up to four bands of rows at the same time. Each costs a few hundred
// bytes, because its compression starts afresh.
constexpr std::int32_t mostBands = 4, fewestRows = 64;

struct CompressedBand {
  PixelBytes bytes;
  uLong checksum = 0;
  std::size_t uncompressedSize = 0;
};

class Deflate {
public:
  Deflate() {
    const int windowBits = -15, memoryLevel = 8;  // without zlib's header and checksum, which are the file's
    if (deflateInit2(&stream, level, Z_DEFLATED, windowBits, memoryLevel, Z_FILTERED) != Z_OK)
      throw std::bad_alloc();
  }
  Deflate(const Deflate&) = delete;
  Deflate& operator=(const Deflate&) = delete;
  ~Deflate() { deflateEnd(&stream); }

  std::size_t bound(std::size_t size) { return deflateBound(&stream, static_cast<uLong>(size)); }

  void compressTo(PixelBytes& output) {
    stream.next_out = output.data();
    stream.avail_out = static_cast<uInt>(output.size());
  }

  void add(std::vector<unsigned char>& input, int flush) {
    stream.next_in = input.data();
    stream.avail_in = static_cast<uInt>(input.size());
    deflate(&stream, flush);
  }

  std::size_t size() const { return stream.total_out; }

private:
  z_stream stream{};
};

// Writes the difference of a row from the one above, as the filter Up does. Rows of a screen mostly
// repeat the one above, so this leaves little to compress; to choose a filter for each row takes
// more time than it saves bytes.
void filterUp(unsigned char* out, const unsigned char* row, const unsigned char* above,
              const PixelRows& image) {
  const std::size_t size = image.order == PixelOrder::rgb ? 3 : 4,
                    red = image.order == PixelOrder::bgrx ? 2 : 0;
  const auto width = static_cast<std::size_t>(image.width);
  *out++ = 2;
  const auto difference = [&](std::size_t at) { return static_cast<unsigned char>(row[at] - above[at]); };
  for (std::size_t x = 0; x < width; ++x) {
    out[3 * x] = difference(size * x + red);
    out[3 * x + 1] = difference(size * x + 1);
    out[3 * x + 2] = difference(size * x + 2 - red);
  }
}

CompressedBand compress(const PixelRows& image, std::int32_t first, std::int32_t end) {
  const std::vector<unsigned char> black(image.rowSize());
  std::vector<unsigned char> filtered(1 + 3 * static_cast<std::size_t>(image.width));
  CompressedBand band;
  band.uncompressedSize = filtered.size() * static_cast<std::size_t>(end - first);
  band.checksum = adler32(0, nullptr, 0);
  Deflate deflate;
  // A flush takes a few bytes more than deflateBound() says.
  band.bytes.resize(deflate.bound(band.uncompressedSize) + 16);
  deflate.compressTo(band.bytes);
  for (std::int32_t y = first; y < end; ++y) {
    filterUp(filtered.data(), image.row(y), y == 0 ? black.data() : image.row(y - 1), image);
    band.checksum = adler32(band.checksum, filtered.data(), static_cast<uInt>(filtered.size()));
    const int atEnd = end == image.height ? Z_FINISH : Z_SYNC_FLUSH;
    deflate.add(filtered, y + 1 == end ? atEnd : Z_NO_FLUSH);
  }
  band.bytes.resize(deflate.size());
  return band;
}

// Compresses in a thread, or when the result is asked for where no thread can be started.
std::future<CompressedBand> startCompressing(const PixelRows& image, std::int32_t first, std::int32_t end) {
  try {
    return std::async(std::launch::async, compress, image, first, end);
  } catch (const std::system_error&) {
    return std::async(std::launch::deferred, compress, image, first, end);
  }
}

std::array<unsigned char, 4> bigEndian(uLong number) {
  return {static_cast<unsigned char>(number >> 24), static_cast<unsigned char>(number >> 16),
          static_cast<unsigned char>(number >> 8), static_cast<unsigned char>(number)};
}

template <typename Bytes>
void append(std::vector<unsigned char>& file, const Bytes& bytes) {
  file.insert(file.end(), bytes.begin(), bytes.end());
}

template <typename Bytes>
void appendChunk(std::vector<unsigned char>& file, std::string_view type, const Bytes& data) {
  append(file, bigEndian(data.size()));
  const std::size_t start = file.size();
  append(file, type);
  append(file, data);
  append(file, bigEndian(crc32(0, file.data() + start, static_cast<uInt>(file.size() - start))));
}

}  // namespace

std::vector<unsigned char> encodeFastPng(const PixelRows& image) {
  if (image.width <= 0 || image.height <= 0 || !fitsPng({image.width, image.height})) return {};
  const std::int32_t rows = std::max((image.height + mostBands - 1) / mostBands, fewestRows);
  std::vector<std::future<CompressedBand>> started;
  for (std::int32_t y = rows; y < image.height; y += rows) {
    started.push_back(startCompressing(image, y, std::min(y + rows, image.height)));
  }
  std::vector<CompressedBand> bands;
  bands.push_back(compress(image, 0, std::min(rows, image.height)));
  for (auto& band : started) bands.push_back(band.get());

  std::vector<unsigned char> file;
  append(file, std::string_view("\x89PNG\r\n\x1a\n"));
  std::vector<unsigned char> header;
  append(header, bigEndian(static_cast<uLong>(image.width)));
  append(header, bigEndian(static_cast<uLong>(image.height)));
  append(header, std::array<unsigned char, 5>{8, 2 /* RGB */, 0, 0, 0});
  appendChunk(file, "IHDR", header);
  appendChunk(file, "IDAT", zlibHeader);
  uLong checksum = adler32(0, nullptr, 0);
  for (const CompressedBand& band : bands) {
    appendChunk(file, "IDAT", band.bytes);
    checksum = adler32_combine(checksum, band.checksum, static_cast<z_off_t>(band.uncompressedSize));
  }
  appendChunk(file, "IDAT", bigEndian(checksum));
  appendChunk(file, "IEND", std::string_view());
  return file;
}

}  // namespace ostler
