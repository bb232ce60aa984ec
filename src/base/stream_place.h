#pragma once

#include <optional>
#include <string>

#include "base/geometry.h"

namespace ostler {

// Where the stream is on the desktop, as far as the portal tells.
struct StreamPlace {
  std::optional<std::string> mappingId;  // of the EIS region that the stream shows
  std::optional<Point> position;
};

}  // namespace ostler
