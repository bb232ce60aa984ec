#pragma once

#include <cstdint>

namespace ostler {

// The source pixels under one target pixel along one axis: `count` of them from
// `first` on. All but the first and the last are covered in full.
struct ResampleSpan {
  std::int32_t first;
  std::int32_t count;
  double firstWeight;
  double lastWeight;

  double weight(std::int32_t index) const {
    if (index == 0) return firstWeight;
    return index == count - 1 ? lastWeight : 1.0;
  }
  std::int32_t end() const { return first + count; }
};

// The span of target pixel `target`, where one target pixel is `step` source pixels wide.
ResampleSpan resampleSpan(std::int32_t target, double step, std::int32_t sourceSize);

}  // namespace ostler
