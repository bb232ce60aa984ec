#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "wayland/stream/frame.h"

struct spa_pod;

namespace ostler {

// What is said between the stream and the server about format and buffers, as
// pods. The pods that are built stand in a PodRoom and live as long as it.
struct PodRoom {
  alignas(8) std::array<unsigned char, 1024> bytes;
};

// The formats offered when the stream is connected, and nothing else: size and
// rate are the server's to settle.
const spa_pod* buildOfferedFormats(PodRoom& room);

// What the server fixed. Nothing for what is not raw video.
std::optional<StreamFormat> parseFormat(const spa_pod* param);

// The answer to a format: how the buffers are to look, and the two kinds of
// metadata (header, cursor) that are to come with them.
std::array<const spa_pod*, 3> buildBufferParams(PodRoom& room, const StreamFormat& format);

// Throws std::runtime_error unless unpack() can read the format.
void requireSupportedFormat(std::uint32_t videoFormat);

}  // namespace ostler
