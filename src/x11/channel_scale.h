#pragma once

#include <bit>
#include <cstdint>
#include <vector>

namespace ostler {

// Extracts one colour channel from an X pixel and scales it to 8 bits, rounded to nearest. The
// channel's mask can have any position and width.
class ChannelScale {
public:
  explicit ChannelScale(unsigned long channelMask)
      : mask(channelMask), shift(channelMask == 0 ? 0 : std::countr_zero(channelMask)) {
    // Real channels have 2 to 10 bits. For a much wider one no table is built, and each value is
    // computed when it is needed.
    constexpr std::uint64_t largestTable = 1u << 16;
    const std::uint64_t values = (mask >> shift) + 1;
    if (values > largestTable) return;
    table.reserve(values);
    for (std::uint64_t value = 0; value < values; ++value) table.push_back(scaled(value));
  }

  unsigned char byteOf(unsigned long pixel) const {
    const std::uint64_t value = (pixel & mask) >> shift;
    return value < table.size() ? table[value] : scaled(value);
  }

private:
  unsigned char scaled(std::uint64_t value) const {
    if (mask == 0) return 0;
    const std::uint64_t maximum = ~std::uint64_t{0} >> (64 - std::popcount(mask));
    return static_cast<unsigned char>((value * 255 + (maximum >> 1)) / maximum);
  }

  std::uint64_t mask;
  int shift;
  std::vector<unsigned char> table;
};

}  // namespace ostler
