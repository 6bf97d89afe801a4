#include "kit/map/city.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "tests/map/random_tree.h"
#include "tests/map/shape_checks.h"

namespace tallyfin::map {
namespace {

using testing::childLists;
using testing::largestOverlap;
using testing::randomTree;
using testing::wideFolder;
using testing::within;

constexpr int64_t kNow = 1'800'000'000;
constexpr int64_t kDay = 86'400;

CityOptions options() {
  CityOptions o;
  o.now = kNow;
  return o;
}

// Where the view ray through a screen point enters a box, measured along (1,1,1)
// towards the viewer: the larger, the nearer. None when the ray misses.
std::optional<double> rayEntry(const Box& box, Point screen) {
  // The world point on the ground (z = 0) that projects onto `screen`.
  const double a = screen.x / 0.8660254037844386, b = 2 * screen.y;
  const double x = (a + b) / 2, y = (b - a) / 2;
  const double lows[] = {box.x - x, box.y - y, box.z};
  const double highs[] = {box.x + box.width - x, box.y + box.depth - y, box.z + box.height};
  double enter = -std::numeric_limits<double>::infinity();
  double leave = std::numeric_limits<double>::infinity();
  for (int axis = 0; axis < 3; ++axis) {
    enter = std::max(enter, lows[axis]);
    leave = std::min(leave, highs[axis]);
  }
  if (enter > leave) return std::nullopt;
  return leave;
}

TEST(CityInvariants, BlocksCarryTheirChildrenAndFootprintsFollowSizes) {
  for (uint32_t seed = 1; seed <= 15; ++seed) {
    SCOPED_TRACE(seed);
    const DiskNode tree = randomTree(seed);
    const CityOptions o = options();
    const auto layout = city(tree, "/", o);
    const auto& boxes = layout.shapes();
    const auto children = childLists(boxes);
    for (size_t i = 0; i < boxes.size(); ++i) {
      const CityBox& box = boxes[i];
      if (i > 0) {
        EXPECT_GE(box.box.width * box.box.depth, o.minimumFootprint * (1 - 1e-12));
      }
      EXPECT_EQ(box.block, !children[i].empty());
      if (!box.block) {
        EXPECT_DOUBLE_EQ(box.box.height, buildingHeight(box.modified, o));
        continue;
      }
      EXPECT_EQ(box.box.height, o.plinthHeight);
      std::vector<Rect> footprints;
      for (size_t c : children[i]) {
        const Box& child = boxes[c].box;
        EXPECT_DOUBLE_EQ(child.z, box.box.z + box.box.height);
        EXPECT_TRUE(within(box.box.footprint(), child.footprint(), 1e-9));
        footprints.push_back(child.footprint());
      }
      EXPECT_EQ(largestOverlap(footprints), 0);
      // Every footprint takes the same share of its plot: area per byte is the same
      // for all siblings.
      const CityBox& first = boxes[children[i][0]];
      const double perByte = first.box.footprint().area() / static_cast<double>(first.size);
      for (size_t c : children[i]) {
        EXPECT_NEAR(boxes[c].box.footprint().area(), static_cast<double>(boxes[c].size) * perByte,
                    1e-9 * box.box.footprint().area());
      }
    }
  }
}

TEST(CityHeights, GrowWithAgeUpToTheMaximum) {
  const CityOptions o = options();
  EXPECT_EQ(buildingHeight(0, o), o.minimumHeight);
  EXPECT_EQ(buildingHeight(kNow + 10, o), o.minimumHeight);
  EXPECT_EQ(buildingHeight(kNow, o), o.minimumHeight);
  double previous = o.minimumHeight;
  for (int64_t days : {1, 7, 30, 90, 365, 730}) {
    const double height = buildingHeight(kNow - days * kDay, o);
    EXPECT_GT(height, previous) << days;
    previous = height;
  }
  EXPECT_DOUBLE_EQ(previous, o.maximumHeight);
  EXPECT_EQ(buildingHeight(kNow - 5000 * kDay, o), o.maximumHeight);
}

TEST(CityEdges, ZeroSizeSingleChildAndTenThousandChildren) {
  const DiskNode zeros = wideFolder(3, 0), one = wideFolder(1, 100), many = wideFolder(10'000, 100);
  EXPECT_EQ(city(zeros, "/wide", options()).shapes().size(), 1u);
  const auto single = city(one, "/wide", options());
  ASSERT_EQ(single.shapes().size(), 2u);
  EXPECT_TRUE(single.shapes()[0].block);
  EXPECT_FALSE(single.shapes()[1].block);
  const auto wide = city(many, "/wide", options());
  EXPECT_EQ(wide.shapes().size(), 10'001u);
  std::vector<Rect> footprints;
  for (size_t i = 1; i < wide.shapes().size(); ++i)
    footprints.push_back(wide.shapes()[i].box.footprint());
  EXPECT_EQ(largestOverlap(footprints), 0);
}

// The box painted last under a point is the one the view ray meets first, and the
// outline holds the point exactly when the ray meets the box.
TEST(CityPainting, BackToFrontOrderShowsTheNearestBox) {
  std::mt19937 random(17);
  for (uint32_t seed : {2u, 4u, 10u}) {
    const DiskNode tree = randomTree(seed, {6, 12});
    const auto layout = city(tree, "/", options());
    const Rect& bounds = layout.projectedBounds();
    std::uniform_real_distribution<double> x(bounds.x, bounds.right()),
        y(bounds.y, bounds.bottom());
    for (int n = 0; n < 1'000; ++n) {
      const Point p{x(random), y(random)};
      std::optional<size_t> nearest;
      double nearestEntry = -std::numeric_limits<double>::infinity();
      for (size_t i = 0; i < layout.shapes().size(); ++i) {
        const auto entry = rayEntry(layout.shapes()[i].box, p);
        const bool inside = insideOutline(project(layout.shapes()[i].box).outline, p);
        ASSERT_EQ(entry.has_value(), inside) << i;
        if (entry && *entry > nearestEntry) {
          nearest = i;
          nearestEntry = *entry;
        }
      }
      const auto hit = layout.hit(p);
      ASSERT_EQ(hit.has_value(), nearest.has_value());
      if (hit) {
        EXPECT_NEAR(*rayEntry(layout.shapes()[*hit].box, p), nearestEntry, 1e-9);
      }
    }
  }
}

TEST(CityHit, AgreesWithBruteForceInProjectedSpace) {
  std::mt19937 random(23);
  for (uint32_t seed : {1u, 7u}) {
    const DiskNode tree = randomTree(seed, {7, 14});
    const auto layout = city(tree, "/", options());
    const Rect& b = layout.projectedBounds();
    std::uniform_real_distribution<double> x(b.x - 10, b.right() + 10),
        y(b.y - 10, b.bottom() + 10);
    for (int n = 0; n < 2'000; ++n) {
      const Point p{x(random), y(random)};
      std::optional<size_t> expected;
      for (size_t i = layout.shapes().size(); i-- > 0 && !expected;) {
        if (insideOutline(project(layout.shapes()[i].box).outline, p)) expected = i;
      }
      ASSERT_EQ(layout.hit(p), expected) << p.x << "," << p.y;
    }
  }
}

}  // namespace
}  // namespace tallyfin::map
