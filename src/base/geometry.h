#pragma once

#include <cstdint>

namespace ostler {

// Coordinates and sizes are pixels of the desktop, in the size that `display` reports, unless a
// declaration says otherwise.

struct Size {
  std::int32_t width = 0;
  std::int32_t height = 0;
  bool operator==(const Size&) const = default;
};

struct Point {
  std::int32_t x = 0;
  std::int32_t y = 0;
  bool operator==(const Point&) const = default;
};

struct Position {
  double x = 0;
  double y = 0;
  bool operator==(const Position&) const = default;
};

struct Rect {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

}  // namespace ostler
