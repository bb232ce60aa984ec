#include "image/crop.h"

#include <algorithm>
#include <cstring>

namespace ostler {
namespace {

struct Span {
  std::int32_t start;
  std::int32_t length;
};

Span clampSpan(std::int32_t start, std::int32_t length, std::int32_t limit) {
  const std::int32_t clamped = std::clamp(start, 0, limit);
  return {clamped, std::clamp(length, 0, limit - clamped)};
}

}  // namespace

RgbImage cropImage(const RgbImage& image, std::int32_t x, std::int32_t y, std::int32_t cropWidth,
                   std::int32_t cropHeight) {
  const Span columns = clampSpan(x, cropWidth, image.width);
  const Span rows = clampSpan(y, cropHeight, image.height);
  RgbImage result(columns.length, rows.length);
  if (result.bytes.empty()) return result;
  for (std::int32_t i = 0; i < rows.length; ++i) {
    std::memcpy(result.row(i), image.row(rows.start + i) + static_cast<std::size_t>(columns.start) * 3,
                static_cast<std::size_t>(columns.length) * 3);
  }
  return result;
}

}  // namespace ostler
