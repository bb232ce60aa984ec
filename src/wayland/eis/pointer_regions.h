#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "base/geometry.h"

namespace ostler {

// The EIS protocol transmits coordinates as floats.
struct EisPosition {
  float x;
  float y;
};

// An area of the desktop that a pointer device can reach.
struct PointerRegion {
  std::uint32_t x, y, width, height;
  std::optional<std::string> mappingId;
};

// Where the stream is on the desktop, as far as that is known.
struct StreamPlace {
  std::optional<std::string> mappingId;  // of the region that the stream shows
  std::optional<Point> position;
};

// All areas of a device, one for each monitor on GNOME and KDE.
class PointerRegions {
public:
  PointerRegions(const std::vector<PointerRegion>& ofDevice, const StreamPlace& stream);

  // Converts a position in the stream to one on the desktop. A position outside all regions is
  // moved to the nearest point inside one.
  EisPosition place(EisPosition inStream) const;
  // Converts like place(), but does not move the position.
  EisPosition onDesktop(EisPosition inStream) const;
  bool isSingle() const { return regions.size() < 2; }
  bool haveSameRegion(EisPosition one, EisPosition other) const;
  // The middle of the region that contains the position.
  EisPosition middleAround(EisPosition place) const;

private:
  // In floats, as positions are.
  struct Area {
    bool contains(EisPosition place) const {
      return place.x >= left && place.x < right && place.y >= top && place.y < bottom;
    }
    EisPosition nearestInside(EisPosition target) const;

    float left, top, right, bottom;
  };

  const Area* regionAt(EisPosition place) const;

  std::vector<Area> regions;
  std::vector<Area> ofStream;  // the stream's regions; empty if they are unknown
};

}  // namespace ostler
