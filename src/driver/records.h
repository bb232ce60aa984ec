#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ostler {

// Coordinates and sizes count pixels of the desktop as `display` reports it,
// unless a declaration says otherwise.

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

struct Rect {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;
};

struct WindowInfo {
  std::string windowId;
  std::string applicationId;
  std::string applicationName;
  std::vector<std::string> applicationNames;
  std::string title;
  std::string displayId;
  Rect bounds;
  bool isMinimized = false;
};

struct DisplayInfo {
  std::string displayId;
  std::string label;
  Rect bounds;
  bool isPrimary = false;
};

struct Capabilities {
  bool discovery = false;
  bool application = false;
  bool window = false;
  bool state = false;
};

}  // namespace ostler
