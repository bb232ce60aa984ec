#pragma once

#include <optional>

#include "base/geometry.h"
#include "wayland/stream/frame.h"

struct spa_buffer;

namespace ostler {

// What a buffer holds, copied.
struct FrameIntake {
  std::optional<Frame> frame;
  std::optional<Point> cursor;  // as the buffer's metadata has it, when it has one
};

// Reads a buffer that arrived under `format`. There is nothing in one that is
// null, empty, marked as corrupted or too short for the format, except that a
// buffer with a cursor only, which a mark on its chunk tells, has no frame but a
// cursor. Throws on a format that unpack() cannot read. A frame is copied into
// `storage`, which is then empty.
FrameIntake takeIn(const spa_buffer* buffer, const StreamFormat& format, PixelBytes& storage);

}  // namespace ostler
