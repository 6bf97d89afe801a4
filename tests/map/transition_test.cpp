#include "kit/map/transition.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/map/random_tree.h"
#include "tests/map/shape_checks.h"
#include "tests/support/tree_builder.h"

namespace tallyfin::map {
namespace {

using testing::overlapArea;
using testing::TreeBuilder;
using testing::within;

constexpr Rect kScreen{0, 0, 1200, 800};

// /data holds "big" (with three folders inside) and a few siblings.
DiskNode sampleTree() {
  return TreeBuilder()
      .add("/data/big/a/x", 400)
      .add("/data/big/a/y", 200)
      .add("/data/big/b", 300)
      .add("/data/big/c", 100)
      .add("/data/other", 500)
      .add("/data/third", 250)
      .add("/data/fourth", 120)
      .build();
}

template <class Geometry>
size_t countWhere(const std::vector<Tween<Geometry>>& tweens, bool from, bool to) {
  size_t n = 0;
  for (const auto& tween : tweens)
    n += tween.from.has_value() == from && tween.to.has_value() == to;
  return n;
}

TEST(TreemapTransition, ZoomInGrowsTheFolderAndPushesItsSiblingsOut) {
  const DiskNode tree = sampleTree();
  const DiskNode& data = *tree.node("data");
  // Two levels only: a's children appear when the zoom makes room for them.
  TreemapOptions twoLevels;
  twoLevels.maxDepth = 2;
  const auto before = treemap(data, "/data", kScreen, twoLevels);
  const auto after = treemap(*data.child("big"), "/data/big", kScreen, twoLevels);
  const auto tweens = transition(before, after);
  const size_t bigBefore = *before.locate("/data/big");

  for (const auto& tween : tweens) {
    EXPECT_EQ(at(tween, 0), tween.start);
    EXPECT_EQ(at(tween, 1), tween.end);
    if (tween.to) {
      EXPECT_EQ(tween.end, after.shapes()[*tween.to].rect);
    }
    if (tween.from) {
      EXPECT_EQ(tween.start, before.shapes()[*tween.from].rect);
    }
    if (!tween.from) {
      // What appears starts inside the folder's old tile and fades in.
      EXPECT_TRUE(within(before.shapes()[bigBefore].rect, tween.start, 1e-9));
      EXPECT_EQ(opacity(tween, 0.25), 0.25);
    }
    if (!tween.to && before.shapes()[*tween.from].depth == 1) {
      // Siblings leave the screen entirely.
      EXPECT_EQ(overlapArea(tween.end, kScreen), 0) << label(before.shapes()[*tween.from]);
      EXPECT_EQ(opacity(tween, 0.25), 0.75);
    }
  }
  const auto& root =
      *std::find_if(tweens.begin(), tweens.end(), [](const auto& t) { return t.to == size_t{0}; });
  EXPECT_EQ(root.from, bigBefore);
  EXPECT_EQ(root.end, kScreen);
  EXPECT_EQ(countWhere(tweens, true, false), 4u);  // /data and its three other children
  EXPECT_EQ(countWhere(tweens, false, true), 2u);  // a's children x and y
  EXPECT_EQ(countWhere(tweens, true, true) + countWhere(tweens, false, true),
            after.shapes().size());
  // Disappearing shapes come first, then the new layout in its drawing order.
  for (size_t i = 0; i < 4; ++i) EXPECT_FALSE(tweens[i].to.has_value());
  for (size_t i = 4; i < tweens.size(); ++i) EXPECT_EQ(tweens[i].to, i - 4);
}

TEST(TreemapTransition, ZoomOutBringsTheSiblingsInFromOutside) {
  const DiskNode tree = sampleTree();
  const DiskNode& data = *tree.node("data");
  const auto inside = treemap(*data.child("big"), "/data/big", kScreen);
  const auto outside = treemap(data, "/data", kScreen);
  for (const auto& tween : transition(inside, outside)) {
    if (!tween.from && outside.shapes()[*tween.to].depth == 1) {
      EXPECT_EQ(overlapArea(tween.start, kScreen), 0);
    }
    if (tween.from && *tween.from == 0) {
      EXPECT_EQ(tween.start, kScreen);
    }
  }
}

TEST(TreemapTransition, UnrelatedLayoutsFadeInPlace) {
  const DiskNode one = sampleTree(), two = testing::randomTree(1);
  for (const auto& tween : transition(treemap(one, "/", kScreen), treemap(two, "/", kScreen))) {
    EXPECT_TRUE(!tween.from || !tween.to);
    EXPECT_EQ(tween.start, tween.end);
  }
}

TEST(SunburstTransition, ZoomInOpensTheSegmentIntoTheWholeDisc) {
  const DiskNode tree = sampleTree();
  const DiskNode& data = *tree.node("data");
  const auto before = sunburst(data, "/data", {2, 0.001});
  const auto after = sunburst(*data.child("big"), "/data/big", {2, 0.001});
  const Ring old = before.shapes()[*before.locate("/data/big")].ring;
  for (const auto& tween : transition(before, after)) {
    if (!tween.from) {
      // New rings start inside the old segment's angle, one level further out.
      EXPECT_GE(tween.start.startAngle, old.startAngle - 1e-12);
      EXPECT_LE(tween.start.endAngle, old.endAngle + 1e-12);
      EXPECT_GE(tween.start.innerRadius, old.outerRadius - 1e-12);
    }
    if (!tween.to) {
      // What leaves is pressed flat: at the disc's edge or into the centre.
      const Ring& end = tween.end;
      EXPECT_TRUE(end.span() < 1e-12 || end.outerRadius - end.innerRadius < 1e-12);
    }
    EXPECT_EQ(at(tween, 0.5), lerp(tween.start, tween.end, 0.5));
  }
}

TEST(CityTransition, MatchedBoxesMoveAndNewOnesStartInTheOldBlock) {
  const DiskNode tree = sampleTree();
  const DiskNode& data = *tree.node("data");
  CityOptions twoLevels;
  twoLevels.maxDepth = 2;
  const auto before = city(data, "/data", twoLevels);
  const auto after = city(*data.child("big"), "/data/big", twoLevels);
  const Box old = before.shapes()[*before.locate("/data/big")].box;
  size_t matched = 0, appearing = 0;
  for (const auto& tween : transition(before, after)) {
    if (tween.from && tween.to) {
      ++matched;
      EXPECT_EQ(tween.start, before.shapes()[*tween.from].box);
      EXPECT_EQ(tween.end, after.shapes()[*tween.to].box);
    } else if (!tween.from) {
      ++appearing;
      EXPECT_TRUE(within(old.footprint(), tween.start.footprint(), 1e-9));
    }
  }
  EXPECT_EQ(matched, 4u);    // big, a, b and c
  EXPECT_EQ(appearing, 2u);  // x and y, deeper than the old layout went
}

}  // namespace
}  // namespace tallyfin::map
