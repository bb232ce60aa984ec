#include "image/reduce.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace ostler {
namespace {

// With this limit a sum of bytes fits 16 bits, and the table of means fits the first-level cache.
constexpr std::int32_t largestFactor = 8;

// Makes a table of the rounded mean of `area` bytes, indexed by their sum.
std::vector<unsigned char> meansBySum(std::int32_t area) {
  std::vector<unsigned char> means;
  for (std::int32_t sum = 0; sum <= 255 * area; ++sum) {
    means.push_back(static_cast<unsigned char>(std::min(255.0, static_cast<double>(sum) / area + 0.5)));
  }
  return means;
}

void addRow(std::uint16_t* __restrict sums, const unsigned char* __restrict row, std::size_t size) {
  for (std::size_t i = 0; i < size; ++i) sums[i] = static_cast<std::uint16_t>(sums[i] + row[i]);
}

void writeMeans(unsigned char* out, std::int32_t width, const std::uint16_t* sums, std::int32_t factor,
                const unsigned char* means) {
  for (std::int32_t x = 0; x < width; ++x) {
    unsigned red = 0, green = 0, blue = 0;
    for (std::int32_t i = 0; i < factor; ++i) {
      red += *sums++;
      green += *sums++;
      blue += *sums++;
    }
    *out++ = means[red];
    *out++ = means[green];
    *out++ = means[blue];
  }
}

}  // namespace

bool reduceByWholeRatio(RgbImage& result, const RgbImage& image) {
  const std::int32_t factorX = image.width / result.width, factorY = image.height / result.height;
  if (factorX * result.width != image.width || factorY * result.height != image.height) return false;
  if (std::min(factorX, factorY) < 1 || std::max(factorX, factorY) > largestFactor) return false;

  const std::vector<unsigned char> means = meansBySum(factorX * factorY);
  std::vector<std::uint16_t> sums(static_cast<std::size_t>(image.width) * 3);
  for (std::int32_t y = 0; y < result.height; ++y) {
    std::fill(sums.begin(), sums.end(), std::uint16_t{0});
    for (std::int32_t i = 0; i < factorY; ++i) addRow(sums.data(), image.row(y * factorY + i), sums.size());
    writeMeans(result.row(y), result.width, sums.data(), factorX, means.data());
  }
  return true;
}

}  // namespace ostler
