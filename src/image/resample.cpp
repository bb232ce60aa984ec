#include "image/resample.h"

#include <algorithm>
#include <vector>

#include "image/reduce.h"
#include "image/resample_row.h"

namespace ostler {

RgbImage resampleImage(const RgbImage& image, std::int32_t targetWidth, std::int32_t targetHeight) {
  RgbImage result(targetWidth, targetHeight);
  if (image.bytes.empty()) {
    std::fill(result.bytes.begin(), result.bytes.end(), static_cast<unsigned char>(0));
    return result;
  }
  if (reduceByWholeRatio(result, image)) return result;

  // Works in strips, so that the spans of a very wide and low image do not take more memory than
  // the image.
  constexpr std::int32_t stripWidth = 1024;
  const double stepX = static_cast<double>(image.width) / targetWidth;
  const double stepY = static_cast<double>(image.height) / targetHeight;
  std::vector<ResampleSpan> columns;
  for (std::int32_t left = 0; left < targetWidth; left += std::min(stripWidth, targetWidth - left)) {
    columns.clear();
    for (std::int32_t i = 0; i < std::min(stripWidth, targetWidth - left); ++i) {
      columns.push_back(resampleSpan(left + i, stepX, image.width));
    }
    for (std::int32_t y = 0; y < targetHeight; ++y) {
      unsigned char* const out = result.row(y) + static_cast<std::size_t>(left) * 3;
      resampleRow(out, image, resampleSpan(y, stepY, image.height), columns);
    }
  }
  return result;
}

}  // namespace ostler
