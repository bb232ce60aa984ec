#include "image/crop.h"

#include <algorithm>
#include <cmath>

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

std::int32_t toImagePixels(std::int32_t displayUnits, double scale) {
  return static_cast<std::int32_t>(static_cast<std::int64_t>(std::round(displayUnits * scale)));
}

}  // namespace

Rect toImagePixels(const Rect& crop, double scaleX, double scaleY) {
  return {toImagePixels(crop.x, scaleX), toImagePixels(crop.y, scaleY), toImagePixels(crop.width, scaleX),
          toImagePixels(crop.height, scaleY)};
}

Rect clipCrop(Size picture, const Rect& crop) {
  const Span columns = clampSpan(crop.x, crop.width, picture.width);
  const Span rows = clampSpan(crop.y, crop.height, picture.height);
  return {columns.start, rows.start, columns.length, rows.length};
}

RgbImage cropImage(const Capture& picture, std::int32_t x, std::int32_t y, std::int32_t cropWidth,
                   std::int32_t cropHeight) {
  const Rect part = clipCrop(picture.size, {x, y, cropWidth, cropHeight});
  if (part.width == 0 || part.height == 0) return RgbImage(part.width, part.height);
  return picture.toRgb(part);
}

}  // namespace ostler
