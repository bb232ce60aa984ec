#pragma once

#include <string>

#include "base/geometry.h"

namespace ostler {

struct Monitor {
  std::string id;
  Rect area;
  double scale = 1.0;  // pixels in a picture for each unit of the area
};

inline bool contains(const Rect& area, double x, double y) {
  return x >= area.x && y >= area.y && x < area.x + area.width && y < area.y + area.height;
}

}  // namespace ostler
