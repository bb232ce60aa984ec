#include "image/crop.h"

#include <algorithm>

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

RgbImage cropImage(const Capture& picture, std::int32_t x, std::int32_t y, std::int32_t cropWidth,
                   std::int32_t cropHeight) {
  const Span columns = clampSpan(x, cropWidth, picture.size.width);
  const Span rows = clampSpan(y, cropHeight, picture.size.height);
  if (columns.length == 0 || rows.length == 0) return RgbImage(columns.length, rows.length);
  return picture.toRgb({columns.start, rows.start, columns.length, rows.length});
}

}  // namespace ostler
