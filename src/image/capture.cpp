#include "image/capture.h"

#include <algorithm>
#include <cmath>
#include <utility>

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

constexpr std::ptrdiff_t bytesOfPixel = 3;

bool covers(const Rect& area, Size size) {
  return area.x <= 0 && area.y <= 0 && area.x + area.width >= size.width &&
         area.y + area.height >= size.height;
}

// Copies what both images show of an area. `origin` is where they are in the picture.
void copyArea(const RgbImage& from, RgbImage& to, const Rect& area, const Rect& origin) {
  const std::int32_t left = std::max(area.x - origin.x, 0), top = std::max(area.y - origin.y, 0);
  const std::int32_t right = std::min(area.x + area.width - origin.x, from.width);
  const std::int32_t bottom = std::min(area.y + area.height - origin.y, from.height);
  if (left >= right) return;
  for (std::int32_t y = top; y < bottom; ++y) {
    std::copy(from.row(y) + left * bytesOfPixel, from.row(y) + right * bytesOfPixel,
              to.row(y) + left * bytesOfPixel);
  }
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

RgbImage cropImage(const Capture& picture, const Rect& crop) {
  const Rect part = clipCrop(picture.size, crop);
  if (part.width == 0 || part.height == 0) return RgbImage(part.width, part.height);
  return picture.toRgb(part);
}

Capture blackenOutside(Capture picture, std::vector<Rect> areas) {
  const auto coversAll = [&](const Rect& area) { return covers(area, picture.size); };
  if (std::any_of(areas.begin(), areas.end(), coversAll)) return picture;
  auto convert = [toRgb = std::move(picture.toRgb), areas = std::move(areas)](const Rect& part) {
    const RgbImage image = toRgb(part);
    RgbImage result(image.width, image.height);
    std::fill(result.bytes.begin(), result.bytes.end(), 0);
    for (const Rect& area : areas) copyArea(image, result, area, part);
    return result;
  };
  return {picture.size, std::move(convert)};
}

}  // namespace ostler
