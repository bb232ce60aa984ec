#include "image/resample_span.h"

#include <algorithm>
#include <cmath>

namespace ostler {

ResampleSpan resampleSpan(std::int32_t target, double step, std::int32_t sourceSize) {
  const double start = target * step;
  const double end = std::min((target + 1.0) * step, static_cast<double>(sourceSize));
  const double first = std::floor(start);
  // The subtraction keeps a span that ends on a pixel boundary out of the next pixel.
  const double last = std::min(std::floor(end - 1e-10), sourceSize - 1.0);
  const auto covered = [&](double pixel) { return std::min(end, pixel + 1.0) - std::max(start, pixel); };
  return {static_cast<std::int32_t>(first), static_cast<std::int32_t>(last - first) + 1, covered(first),
          covered(last)};
}

}  // namespace ostler
