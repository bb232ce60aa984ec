#pragma once

#include <optional>

#include "base/geometry.h"
#include "wayland/stream/frame.h"

struct spa_buffer;

namespace ostler {

// A copy of the contents of a buffer.
struct BufferContent {
  std::optional<Frame> frame;
  std::optional<Point> cursor;  // from the buffer's metadata, if present
  bool cursorHidden = false;    // or on another screen, as the metadata says
  bool cursorOnly = false;      // a buffer of GNOME just for its metadata
};

// Reads a buffer that arrived with `format`. Returns nothing for a buffer that is null, empty,
// marked as corrupted or too short for the format, and only the cursor if just the chunk is marked
// as corrupted. Throws on a format that unpack() cannot read. A frame takes over `storage`, which
// is then empty.
BufferContent readBuffer(const spa_buffer* buffer, const StreamFormat& format, PixelBytes& storage);

}  // namespace ostler
