#include "wayland/eis/pointer_regions.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace ostler {
namespace {

bool hasArea(const PointerRegion& region) { return region.width > 0 && region.height > 0; }

bool startsAt(const PointerRegion& region, Point position) {
  return std::int64_t{region.x} == position.x && std::int64_t{region.y} == position.y;
}

}  // namespace

PointerRegions::PointerRegions(const std::vector<PointerRegion>& ofDevice, const StreamPlace& stream) {
  const auto areasOf = [&](const auto& isWanted) {
    std::vector<Area> areas;
    for (const PointerRegion& region : ofDevice) {
      if (!hasArea(region) || !isWanted(region)) continue;
      const auto left = static_cast<float>(region.x), top = static_cast<float>(region.y);
      areas.push_back(
          {left, top, left + static_cast<float>(region.width), top + static_cast<float>(region.height)});
    }
    return areas;
  };
  regions = areasOf([](const PointerRegion&) { return true; });
  if (stream.mappingId) {
    ofStream = areasOf([&](const PointerRegion& region) { return region.mappingId == stream.mappingId; });
  }
  if (ofStream.empty() && stream.position) {
    ofStream = areasOf([&](const PointerRegion& region) { return startsAt(region, *stream.position); });
  }
}

// libei (up to 1.4 at least) drops a motion outside the device's regions without an error. A region
// does not contain its right and bottom edges, so a move there would be lost. Such a point is moved
// to the nearest float inside the region.
EisPosition PointerRegions::Area::nearestInside(EisPosition target) const {
  if (contains(target)) return target;
  return {std::clamp(target.x, left, std::nextafter(right, 0.0f)),
          std::clamp(target.y, top, std::nextafter(bottom, 0.0f))};
}

// Coordinates of the portal are relative to the stream, those of EIS to the desktop. Without the
// conversion a click on a second monitor would land on the first on GNOME 48 and KDE Plasma 6.3.
EisPosition PointerRegions::place(EisPosition inStream) const {
  EisPosition nearest = inStream;
  float nearestDistance = std::numeric_limits<float>::infinity();
  for (const Area& region : ofStream.empty() ? regions : ofStream) {
    EisPosition target = inStream;
    if (!ofStream.empty()) target = {target.x + region.left, target.y + region.top};
    const EisPosition candidate = region.nearestInside(target);
    const float distance = std::hypot(candidate.x - target.x, candidate.y - target.y);
    if (distance >= nearestDistance) continue;
    nearestDistance = distance;
    nearest = candidate;
  }
  return nearest;
}

EisPosition PointerRegions::onDesktop(EisPosition inStream) const {
  if (ofStream.empty()) return inStream;
  return {inStream.x + ofStream.front().left, inStream.y + ofStream.front().top};
}

bool PointerRegions::haveSameRegion(EisPosition one, EisPosition other) const {
  return regionAt(one) == regionAt(other);
}

EisPosition PointerRegions::middleAround(EisPosition place) const {
  const Area* const region = regionAt(place);
  if (region == nullptr) return place;
  return {(region->left + region->right) / 2, (region->top + region->bottom) / 2};
}

const PointerRegions::Area* PointerRegions::regionAt(EisPosition place) const {
  const auto region =
      std::find_if(regions.begin(), regions.end(), [=](const Area& each) { return each.contains(place); });
  return region != regions.end() ? &*region : nullptr;
}

}  // namespace ostler
