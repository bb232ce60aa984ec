#include "wayland/eis/pointer_regions.h"

#include <gtest/gtest.h>

namespace ostler {
namespace {

const PointerRegion single{0, 0, 1280, 720, {}}, left{0, 0, 1280, 720, "one"},
    right{1280, 0, 1280, 720, "two"};

TEST(PointerRegions, PlaceAPositionInTheStreamOnTheDesktop) {
  const struct {
    const char* name;
    std::vector<PointerRegion> regions;
    StreamPlace stream;
    EisPosition inStream, onDesktop;
  } cases[] = {
      {"inside", {single}, {}, {10.5F, 20.25F}, {10.5F, 20.25F}},
      {"beyond the right and bottom edges", {single}, {}, {1280, 720}, {1279.99988F, 719.999939F}},
      {"beyond the left and top edges", {right}, {}, {5, -3}, {1280, 0}},
      {"no region", {}, {}, {5, 6}, {5, 6}},
      {"region without an area", {{0, 0, 0, 720, {}}}, {}, {5, 6}, {5, 6}},
      {"all regions", {left, right}, {}, {1300, 100}, {1300, 100}},
      {"the nearer region", {left, right}, {}, {1400, -7}, {1400, 0}},
      {"region with the mapping id", {left, right}, {"two", {}}, {5, 6.5F}, {1285, 6.5F}},
      {"its edge", {left, right}, {"two", {}}, {1280, 720}, {2559.99976F, 719.999939F}},
      {"mapping id rather than position", {left, right}, {"two", Point{0, 0}}, {5, 6}, {1285, 6}},
      {"region at the position", {left, right}, {"three", Point{1280, 0}}, {5, 6}, {1285, 6}},
      {"neither", {left, right}, {"three", Point{7, 0}}, {1300, 6}, {1300, 6}},
  };
  for (const auto& [name, regions, stream, inStream, expected] : cases) {
    const EisPosition place = PointerRegions(regions, stream).place(inStream);
    EXPECT_EQ(std::pair(place.x, place.y), std::pair(expected.x, expected.y)) << name;
  }
}

TEST(PointerRegions, TellWhetherAMotionCrossesAnEdge) {
  const PointerRegions both({left, right}, {"two", {}});
  EXPECT_FALSE(both.isSingle());
  EXPECT_TRUE(both.haveSameRegion({1280, 5}, {2559, 719}));
  EXPECT_FALSE(both.haveSameRegion({1279.9F, 5}, {1280, 5}));
  const EisPosition middle = both.middleAround({1300, 5}), reported = both.onDesktop({-5, 6});
  EXPECT_EQ(std::pair(middle.x, middle.y), std::pair(1920.0F, 360.0F));
  EXPECT_EQ(std::pair(reported.x, reported.y), std::pair(1275.0F, 6.0F));
}

}  // namespace
}  // namespace ostler
