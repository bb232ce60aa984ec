#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "wayland/stream/frame.h"

struct spa_pod;

namespace ostler {

// Builds and parses the pods with which the stream and the server negotiate format and buffers. A
// pod that is built here is stored in a PodStorage and must not outlive it.
struct PodStorage {
  alignas(8) std::array<unsigned char, 1024> bytes;
};

// The pixel formats offered when the stream is connected. The server chooses size and rate.
const spa_pod* buildOfferedFormats(PodStorage& storage);
// The same formats, with a frame rate that the server must not limit.
const spa_pod* buildUnlimitedFormats(PodStorage& storage);

// Returns the format that the server fixed, or nothing if it is not raw video.
std::optional<StreamFormat> parseFormat(const spa_pod* param);

// Builds the answer to a format: the layout of the buffers, and the two kinds of metadata (header,
// cursor) that they should carry.
std::array<const spa_pod*, 3> buildBufferParams(PodStorage& storage, const StreamFormat& format);

// Throws std::runtime_error unless unpack() can read the format.
void requireSupportedFormat(std::uint32_t videoFormat);

}  // namespace ostler
