#pragma once

#include <string>
#include <vector>

#include "base/geometry.h"

namespace ostler {

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
