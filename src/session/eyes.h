#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include <node_api.h>

#include "base/geometry.h"

namespace ostler {

// The parts are in units of the display. An empty part is the whole desktop.

// Returns a JPEG for a quality of 0 or more, otherwise a PNG.
std::vector<unsigned char> picture(std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height,
                                   std::int32_t targetWidth, std::int32_t targetHeight, double quality,
                                   bool fast);

// The size of a part in pixels, and its pixels as red, green, blue and 255, unless they have been
// written to a file.
struct Pixels {
  Size size;
  std::vector<unsigned char> data;
};

napi_value toValue(napi_env env, const std::optional<Pixels>& pixels);

// Writes the pixels at an offset of a file. Without a file (-1), or when that fails, they are in
// the result. Returns nothing when there is no picture.
std::optional<Pixels> pixels(std::int32_t file, std::int32_t offset, std::int32_t x, std::int32_t y,
                             std::int32_t width, std::int32_t height);

// Starts to watch a part: keeps its picture under a number.
void watch(std::int32_t number, std::int32_t x, std::int32_t y, std::int32_t width, std::int32_t height);
// Returns whether the part shows something else than the picture that is kept, and keeps that.
bool hasChanged(std::int32_t number);
// Returns the picture that is kept, as a PNG.
std::vector<unsigned char> watchedPicture(std::int32_t number);
void endWatch(std::int32_t number);

}  // namespace ostler
