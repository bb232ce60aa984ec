#pragma once

#include <optional>
#include <vector>

#include "base/stream_place.h"
#include "wayland/lazy/libei.h"

namespace ostler {

// In floats, as the wire carries it.
struct EisPosition {
  float x;
  float y;
};

// The areas that a pointer device can reach, one for each monitor on GNOME and KDE.
class PointerRegions {
public:
  PointerRegions(ei_device* pointer, const StreamPlace& stream);

  // Where on the desktop a position in the stream is; a position outside all
  // regions is moved to the nearest point inside one.
  EisPosition place(EisPosition inStream) const;
  // Where a motion between two places has to stop on its way.
  std::optional<EisPosition> stopBetween(EisPosition from, EisPosition to) const;

private:
  ei_region* regionAt(EisPosition place) const;

  std::vector<ei_region*> regions;
  std::vector<ei_region*> ofStream;  // empty when it is not known
};

}  // namespace ostler
