#pragma once

#include <optional>
#include <vector>

#include "base/stream_place.h"
#include "wayland/lazy/libei.h"

namespace ostler {

// The EIS protocol transmits coordinates as floats.
struct EisPosition {
  float x;
  float y;
};

// The areas that a pointer device can reach, one for each monitor on GNOME and KDE.
class PointerRegions {
public:
  PointerRegions(ei_device* pointer, const StreamPlace& stream);

  // Converts a position in the stream to one on the desktop. A position outside
  // all regions is moved to the nearest point inside one.
  EisPosition place(EisPosition inStream) const;
  // Converts like place(), but does not move the position.
  EisPosition onDesktop(EisPosition inStream) const;
  bool isSingle() const { return regions.size() < 2; }
  bool haveSameRegion(EisPosition one, EisPosition other) const;
  // The middle of the region that contains the position.
  EisPosition middleAround(EisPosition place) const;

private:
  ei_region* regionAt(EisPosition place) const;

  std::vector<ei_region*> regions;
  std::vector<ei_region*> ofStream;  // the stream's regions; empty if they are unknown
};

}  // namespace ostler
