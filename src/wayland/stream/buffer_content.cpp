#include "wayland/stream/buffer_content.h"

#include <cstring>
#include <utility>

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>

#include "wayland/stream/stream_format.h"

namespace ostler {
namespace {

// The first metadata of a type, if it is as large as `Meta`. SPA guarantees its size and alignment.
template <typename Meta>
const Meta* findMeta(const spa_buffer& buffer, std::uint32_t type) {
  return static_cast<const Meta*>(spa_buffer_find_meta_data(&buffer, type, sizeof(Meta)));
}

bool isCorrupted(const spa_buffer& buffer) {
  const auto* header = findMeta<spa_meta_header>(buffer, SPA_META_Header);
  return header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0;
}

BufferContent takeCursor(const spa_buffer& buffer) {
  BufferContent content;
  const auto* cursor = findMeta<spa_meta_cursor>(buffer, SPA_META_Cursor);
  if (cursor == nullptr) return content;
  if (cursor->id == 0) {
    content.cursorHidden = true;
  } else {
    content.cursor = Point{cursor->position.x, cursor->position.y};
  }
  return content;
}

// When only the pointer has moved, KDE Plasma 6.3 and GNOME 48 send a buffer just for its metadata
// and mark the chunk as corrupted. The chunk of KDE has the size of a picture, but holds old pixels
// or none; that of GNOME has size 0.
bool isCursorOnly(const volatile spa_chunk& chunk) { return (chunk.flags & SPA_CHUNK_FLAG_CORRUPTED) != 0; }

// The position of the rows in the mapped memory.
struct RowLayout {
  std::size_t offset;
  std::size_t stride;
  std::size_t rowBytes;
  std::size_t rows;

  // No step overflows, since each value is below 2^34. The first check rejects overlapping rows,
  // which would fit into a small buffer but add up to a huge frame.
  bool fitsIn(std::size_t size) const {
    if (rows > size / rowBytes) return false;
    if (offset > size || rowBytes > size - offset) return false;
    return rows - 1 <= (size - offset - rowBytes) / stride;
  }
};

void copyRows(unsigned char* to, const unsigned char* memory, const RowLayout& layout) {
  const unsigned char* from = memory + layout.offset;
  if (layout.stride == layout.rowBytes) {
    std::memcpy(to, from, layout.rows * layout.rowBytes);
    return;
  }
  for (std::size_t row = 0; row < layout.rows; ++row) {
    std::memcpy(to + row * layout.rowBytes, from + row * layout.stride, layout.rowBytes);
  }
}

}  // namespace

BufferContent readBuffer(const spa_buffer* buffer, const StreamFormat& format, PixelBytes& storage) {
  if (buffer == nullptr || buffer->n_datas == 0) return {};
  const spa_data& data = buffer->datas[0];
  if (data.data == nullptr || isCorrupted(*buffer) || data.chunk == nullptr) return {};

  // The chunk is in memory shared with the server. Each field is read once, so that what is checked
  // is what is used.
  const volatile spa_chunk& chunk = *data.chunk;
  BufferContent content = takeCursor(*buffer);
  if (isCursorOnly(chunk)) {
    content.cursorOnly = chunk.size == 0;
    return content;
  }
  const std::int32_t stride = chunk.stride;
  if (chunk.size == 0 || format.width <= 0 || format.height <= 0) return {};
  requireSupportedFormat(format.videoFormat);

  RowLayout layout;
  layout.offset = chunk.offset;
  layout.rowBytes = static_cast<std::size_t>(format.width) * bytesPerFramePixel;
  layout.stride = stride > 0 ? static_cast<std::size_t>(stride) : layout.rowBytes;
  layout.rows = static_cast<std::size_t>(format.height);
  if (!layout.fitsIn(data.maxsize)) return {};

  const std::size_t size = layout.rows * layout.rowBytes;
  if (storage.size() != size) storage = PixelBytes(size);
  copyRows(storage.data(), static_cast<const unsigned char*>(data.data), layout);
  content.frame = Frame{format, std::exchange(storage, {})};
  return content;
}

}  // namespace ostler
