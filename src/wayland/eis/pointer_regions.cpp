#include "wayland/eis/pointer_regions.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace ostler {
namespace {

float left(ei_region* region) { return static_cast<float>(ei_region_get_x(region)); }
float top(ei_region* region) { return static_cast<float>(ei_region_get_y(region)); }
float width(ei_region* region) { return static_cast<float>(ei_region_get_width(region)); }
float height(ei_region* region) { return static_cast<float>(ei_region_get_height(region)); }

bool hasMappingId(ei_region* region, const std::string& mappingId) {
  const char* const id = ei_region_get_mapping_id(region);
  return id != nullptr && id == mappingId;
}

bool startsAt(ei_region* region, Point position) {
  return std::int64_t{ei_region_get_x(region)} == position.x &&
         std::int64_t{ei_region_get_y(region)} == position.y;
}

// libei (up to 1.4 at least) drops a motion outside the device's regions
// without an error. A region does not contain its right and bottom edges, so a
// move there would be lost. Such a point is moved to the nearest float inside
// the region.
EisPosition nearestInside(ei_region* region, EisPosition target) {
  if (ei_region_contains(region, target.x, target.y)) return target;
  const float right = left(region) + width(region), bottom = top(region) + height(region);
  return {std::clamp(target.x, left(region), std::nextafter(right, 0.0f)),
          std::clamp(target.y, top(region), std::nextafter(bottom, 0.0f))};
}

}  // namespace

PointerRegions::PointerRegions(ei_device* pointer, const StreamPlace& stream) {
  for (std::size_t i = 0; ei_region* region = ei_device_get_region(pointer, i); ++i) {
    if (ei_region_get_width(region) > 0 && ei_region_get_height(region) > 0) regions.push_back(region);
  }
  const auto select = [this](const auto& matches) {
    std::copy_if(regions.begin(), regions.end(), std::back_inserter(ofStream), matches);
  };
  if (stream.mappingId) select([&](ei_region* region) { return hasMappingId(region, *stream.mappingId); });
  if (ofStream.empty() && stream.position) {
    select([&](ei_region* region) { return startsAt(region, *stream.position); });
  }
}

// Coordinates of the portal are relative to the stream, those of EIS to the
// desktop. Without the conversion a click on a second monitor would land on the
// first on GNOME 48 and KDE Plasma 6.3.
EisPosition PointerRegions::place(EisPosition inStream) const {
  EisPosition nearest = inStream;
  float nearestDistance = std::numeric_limits<float>::infinity();
  for (ei_region* region : ofStream.empty() ? regions : ofStream) {
    EisPosition target = inStream;
    if (!ofStream.empty()) target = {target.x + left(region), target.y + top(region)};
    const EisPosition candidate = nearestInside(region, target);
    const float distance = std::hypot(candidate.x - target.x, candidate.y - target.y);
    if (distance >= nearestDistance) continue;
    nearestDistance = distance;
    nearest = candidate;
  }
  return nearest;
}

EisPosition PointerRegions::onDesktop(EisPosition inStream) const {
  if (ofStream.empty()) return inStream;
  return {inStream.x + left(ofStream.front()), inStream.y + top(ofStream.front())};
}

bool PointerRegions::haveSameRegion(EisPosition one, EisPosition other) const {
  return regionAt(one) == regionAt(other);
}

EisPosition PointerRegions::middleAround(EisPosition place) const {
  ei_region* const region = regionAt(place);
  if (region == nullptr) return place;
  return {left(region) + width(region) / 2, top(region) + height(region) / 2};
}

ei_region* PointerRegions::regionAt(EisPosition place) const {
  const auto region = std::find_if(regions.begin(), regions.end(), [place](ei_region* candidate) {
    return ei_region_contains(candidate, place.x, place.y);
  });
  return region != regions.end() ? *region : nullptr;
}

}  // namespace ostler
