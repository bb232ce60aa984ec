#pragma once

#include <optional>

#include "base/geometry.h"
#include "wayland/stream/frame.h"

struct spa_buffer;

namespace ostler {

struct FrameIntake {
  Frame frame;
  std::optional<Point> cursor;  // as the buffer's metadata has it, when it has one
};

// The picture in a buffer that arrived under `format`, copied. Nothing when the
// buffer is null, empty, marked as corrupted or too short for the format.
// Throws on a format that unpack() cannot read.
std::optional<FrameIntake> takeIn(const spa_buffer* buffer, const StreamFormat& format);

}  // namespace ostler
