#include "image/resample_row.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace ostler {
namespace {

unsigned char toByte(double value) {
  if (!(value < 255.0)) return 255;
  return value > 0.0 ? static_cast<unsigned char>(value) : 0;
}

void resamplePlainly(unsigned char* out, const RgbImage& image, const ResampleSpan& rows,
                     std::span<const ResampleSpan> columns) {
  for (const ResampleSpan& column : columns) {
    double weightSum = 0.0, red = 0.0, green = 0.0, blue = 0.0;
    for (std::int32_t j = 0; j < rows.count; ++j) {
      const double rowWeight = rows.weight(j);
      const unsigned char* pixel = image.row(rows.first + j) + static_cast<std::size_t>(column.first) * 3;
      for (std::int32_t i = 0; i < column.count; ++i, pixel += 3) {
        const double weight = column.weight(i) * rowWeight;
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

#if defined(__x86_64__)
#define OSTLER_AVX2 [[gnu::target("avx2")]]

// Loads red, green and blue, and 1.0 in the last lane, which sums the weights. Reads one byte past
// the pixel.
OSTLER_AVX2 inline __m256d loadPixel(const unsigned char* pixel) {
  std::int32_t bytes;
  std::memcpy(&bytes, pixel, sizeof bytes);
  const __m256d channels = _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes)));
  constexpr int lastLane = 1 << 3;
  return _mm256_blend_pd(channels, _mm256_set1_pd(1.0), lastLane);
}

OSTLER_AVX2 inline __m256d addWeighted(__m256d sums, const unsigned char* pixel, double weight) {
  return _mm256_add_pd(sums, _mm256_mul_pd(loadPixel(pixel), _mm256_set1_pd(weight)));
}

OSTLER_AVX2 void resampleWithAvx2(unsigned char* out, const RgbImage& image, const ResampleSpan& rows,
                                  std::span<const ResampleSpan> columns) {
  const std::size_t rowBytes = static_cast<std::size_t>(image.width) * 3;
  const unsigned char* const top = image.row(rows.first);
  for (const ResampleSpan& column : columns) {
    __m256d sums = _mm256_setzero_pd();
    const unsigned char* pixel = top + static_cast<std::size_t>(column.first) * 3;
    const std::ptrdiff_t last = column.count - 1;
    for (std::int32_t j = 0; j < rows.count; ++j, pixel += rowBytes) {
      const double rowWeight = rows.weight(j);
      sums = addWeighted(sums, pixel, column.firstWeight * rowWeight);
      for (std::ptrdiff_t i = 1; i < last; ++i) sums = addWeighted(sums, pixel + i * 3, rowWeight);
      if (last > 0) sums = addWeighted(sums, pixel + last * 3, column.lastWeight * rowWeight);
    }
    const __m256d weightSum = _mm256_permute4x64_pd(sums, _MM_SHUFFLE(3, 3, 3, 3));
    const __m256d rounded = _mm256_add_pd(_mm256_div_pd(sums, weightSum), _mm256_set1_pd(0.5));
    // The conversion truncates and the packing saturates, as toByte() does.
    const __m128i words = _mm_packus_epi32(_mm256_cvttpd_epi32(rounded), _mm_setzero_si128());
    const auto bytes = static_cast<unsigned>(_mm_cvtsi128_si32(_mm_packus_epi16(words, words)));
    *out++ = static_cast<unsigned char>(bytes);
    *out++ = static_cast<unsigned char>(bytes >> 8);
    *out++ = static_cast<unsigned char>(bytes >> 16);
  }
}

void resampleRowOnX86(unsigned char* out, const RgbImage& image, const ResampleSpan& rows,
                      std::span<const ResampleSpan> columns) {
  // loadPixel() reads past its pixel, so it must not load the last pixel of the image.
  std::size_t fast = columns.size();
  if (rows.end() == image.height) {
    while (fast > 0 && columns[fast - 1].end() == image.width) --fast;
  }
  static const auto resampleFast = __builtin_cpu_supports("avx2") ? resampleWithAvx2 : resamplePlainly;
  resampleFast(out, image, rows, columns.first(fast));
  resamplePlainly(out + fast * 3, image, rows, columns.subspan(fast));
}
#endif

}  // namespace

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

void resampleRow(unsigned char* out, const RgbImage& image, const ResampleSpan& rows,
                 std::span<const ResampleSpan> columns) {
#if defined(__x86_64__)
  resampleRowOnX86(out, image, rows, columns);
#else
  resamplePlainly(out, image, rows, columns);
#endif
}

}  // namespace ostler
