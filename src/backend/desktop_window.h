#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "base/geometry.h"

namespace ostler {

// A window of a program, as the window manager describes it.
struct DesktopWindow {
  std::uint32_t id = 0;
  std::string title;
  std::string className;
  std::optional<std::int32_t> pid;
  Rect bounds;                          // without the frame
  std::optional<std::int32_t> desktop;  // -1 is all desktops
  bool isActive = false;
};

}  // namespace ostler
