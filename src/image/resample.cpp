#include "image/resample.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace ostler {
namespace {

// The source pixels under one target pixel along one axis.
struct Span {
  double start;
  double end;
  std::int32_t first;
  std::int32_t last;

  double weight(std::int32_t position) const {
    return std::min(end, position + 1.0) - std::max(start, static_cast<double>(position));
  }
};

Span spanOf(std::int32_t target, double step, std::int32_t sourceSize) {
  const double start = target * step;
  const double end = std::min((target + 1.0) * step, static_cast<double>(sourceSize));
  // A span that ends on a pixel boundary does not reach into the next pixel.
  const double last = std::min(std::floor(end - 1e-10), sourceSize - 1.0);
  return {start, end, static_cast<std::int32_t>(std::floor(start)), static_cast<std::int32_t>(last)};
}

// All columns' spans with their weights, worked out once for all rows.
class Columns {
public:
  Columns(std::int32_t sourceWidth, std::int32_t targetWidth) {
    const double step = static_cast<double>(sourceWidth) / targetWidth;
    columns.reserve(static_cast<std::size_t>(targetWidth));
    for (std::int32_t target = 0; target < targetWidth; ++target) {
      const Span span = spanOf(target, step, sourceWidth);
      columns.push_back({span.first, span.last - span.first + 1, weights.size()});
      for (std::int32_t x = span.first; x <= span.last; ++x) weights.push_back(span.weight(x));
    }
  }

  struct Column {
    std::int32_t first;
    std::int32_t count;
    std::size_t weight;
  };
  std::vector<Column> columns;
  std::vector<double> weights;
};

unsigned char toByte(double value) {
  if (!(value < 255.0)) return 255;
  return value > 0.0 ? static_cast<unsigned char>(value) : 0;
}

}  // namespace

RgbImage resampleImage(const RgbImage& image, std::int32_t targetWidth, std::int32_t targetHeight) {
  RgbImage result(targetWidth, targetHeight);
  const Columns columns(image.width, targetWidth);
  const double step = static_cast<double>(image.height) / targetHeight;
  unsigned char* out = result.bytes.data();
  for (std::int32_t targetY = 0; targetY < targetHeight; ++targetY) {
    const Span rows = spanOf(targetY, step, image.height);
    for (const auto& column : columns.columns) {
      double weightSum = 0.0, red = 0.0, green = 0.0, blue = 0.0;
      for (std::int32_t y = rows.first; y <= rows.last; ++y) {
        const double rowWeight = rows.weight(y);
        const unsigned char* pixel = image.row(y) + static_cast<std::size_t>(column.first) * 3;
        const double* columnWeight = columns.weights.data() + column.weight;
        for (std::int32_t i = 0; i < column.count; ++i, pixel += 3) {
          const double weight = columnWeight[i] * rowWeight;
          weightSum += weight;
          red += pixel[0] * weight;
          green += pixel[1] * weight;
          blue += pixel[2] * weight;
        }
      }
      const bool covered = weightSum > 0.0;
      *out++ = covered ? toByte(red / weightSum + 0.5) : 0;
      *out++ = covered ? toByte(green / weightSum + 0.5) : 0;
      *out++ = covered ? toByte(blue / weightSum + 0.5) : 0;
    }
  }
  return result;
}

}  // namespace ostler
