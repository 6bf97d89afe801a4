#include "kit/map/treemap.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "kit/map/squarify.h"
#include "tests/map/random_tree.h"
#include "tests/map/shape_checks.h"

namespace tallyfin::map {
namespace {

using testing::childLists;
using testing::largestOverlap;
using testing::randomTree;
using testing::wideFolder;
using testing::within;

constexpr Rect kScreen{0, 0, 1920, 1080};

// Every tile but the root reaches the minimum; a folder's children share its
// content in proportion to their sizes, lie inside it and do not overlap.
void expectTreemapInvariants(const TreemapLayout& layout, const TreemapOptions& options) {
  const auto& tiles = layout.shapes();
  ASSERT_FALSE(tiles.empty());
  EXPECT_EQ(tiles[0].rect, layout.bounds());
  const double slack = 1e-9 * std::max(kScreen.width, kScreen.height);
  const auto children = childLists(tiles);
  for (size_t i = 0; i < tiles.size(); ++i) {
    const TreemapTile& tile = tiles[i];
    ASSERT_TRUE(std::isfinite(tile.rect.x + tile.rect.y + tile.rect.width + tile.rect.height));
    if (i > 0) {
      EXPECT_GE(tile.rect.area(), options.minimumArea * (1 - 1e-12)) << label(tile);
    }
    if (tile.content.empty()) {
      EXPECT_TRUE(children[i].empty());
      continue;
    }
    EXPECT_TRUE(within(tile.rect, tile.content, 0));
    EXPECT_GE(tile.content.y - tile.rect.y, options.padding - slack);
    const double perByte = tile.content.area() / static_cast<double>(tile.node->size);
    std::vector<Rect> rects;
    for (size_t c : children[i]) {
      const TreemapTile& child = tiles[c];
      EXPECT_NEAR(child.rect.area(), static_cast<double>(child.size) * perByte,
                  1e-9 * tile.content.area());
      EXPECT_TRUE(within(tile.content, child.rect, slack));
      EXPECT_EQ(child.depth, tile.depth + 1);
      rects.push_back(child.rect);
    }
    EXPECT_LE(largestOverlap(rects), 1e-9 * tile.content.area());
  }
}

std::optional<size_t> bruteForceHit(const TreemapLayout& layout, Point p) {
  const auto& tiles = layout.shapes();
  for (size_t i = tiles.size(); i-- > 0;) {
    if (tiles[i].rect.contains(p)) return i;
  }
  return std::nullopt;
}

TEST(TreemapInvariants, HoldOnGeneratedTrees) {
  const TreemapOptions options;
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    const DiskNode tree = randomTree(seed);
    expectTreemapInvariants(treemap(tree, "/", kScreen, options), options);
  }
}

TEST(TreemapInvariants, HoldWithoutHeadersOrPaddingAndWithALargeMinimum) {
  TreemapOptions options;
  options.headerHeight = 0;
  options.padding = 0;
  options.minimumArea = 5'000;
  const DiskNode tree = randomTree(7, {8, 20});
  expectTreemapInvariants(treemap(tree, "/", kScreen, options), options);
}

TEST(TreemapEdges, ZeroSizeFoldersDrawOnlyTheirOwnTile) {
  DiskNode empty;
  empty.name = "empty";
  EXPECT_EQ(treemap(empty, "/empty", kScreen).shapes().size(), 1u);
  DiskNode zeros = wideFolder(5, 0);
  const auto layout = treemap(zeros, "/wide", kScreen);
  ASSERT_EQ(layout.shapes().size(), 1u);
  EXPECT_EQ(layout.shapes()[0].rect, kScreen);
  // A zero-size child among real ones gets no tile of its own and leaves no gap.
  DiskNode mixed = wideFolder(3, 100);
  mixed.children.push_back(wideFolder(1, 0).children[0]);
  const TreemapOptions options;
  const auto mixedLayout = treemap(mixed, "/wide", kScreen, options);
  EXPECT_EQ(mixedLayout.shapes().size(), 4u);
  expectTreemapInvariants(mixedLayout, options);
}

TEST(TreemapEdges, ASingleChildFillsItsFolder) {
  const DiskNode folder = wideFolder(1, 4096);
  const auto layout = treemap(folder, "/wide", kScreen);
  ASSERT_EQ(layout.shapes().size(), 2u);
  EXPECT_EQ(layout.shapes()[1].rect, layout.shapes()[0].content);
}

TEST(TreemapEdges, TenThousandChildrenAllGetTiles) {
  const DiskNode folder = wideFolder(10'000, 1'000'000);
  const TreemapOptions options;
  const auto layout = treemap(folder, "/wide", kScreen, options);
  EXPECT_EQ(layout.shapes().size(), 10'001u);
  expectTreemapInvariants(layout, options);
}

TEST(TreemapEdges, SmallSiblingsMergeAndTooSmallGroupsAreNotDrawn) {
  DiskNode folder = wideFolder(0, 0);
  for (int i = 0; i < 10'000; ++i) {
    DiskNode child;
    child.name = "f" + std::to_string(i);
    child.size = 10'000 - i;
    child.kind = DiskNode::Kind::file;
    folder.children.push_back(child);
    folder.size += child.size;
  }
  const TreemapOptions options;
  const auto layout = treemap(folder, "/wide", kScreen, options);
  expectTreemapInvariants(layout, options);
  const auto mergedAt = std::find_if(layout.shapes().begin(), layout.shapes().end(),
                                     [](const TreemapTile& tile) { return tile.mergedCount > 0; });
  ASSERT_NE(mergedAt, layout.shapes().end());
  const TreemapTile& merged = *mergedAt;
  EXPECT_EQ(static_cast<int>(layout.shapes().size()) - 2 + merged.mergedCount, 10'000);
  EXPECT_EQ(label(merged), std::to_string(merged.mergedCount) + " smaller items");

  // One big child and three crumbs that even together stay under the minimum.
  DiskNode lopsided = wideFolder(1, 1'000'000'000);
  for (int i = 0; i < 3; ++i) lopsided.children.push_back(wideFolder(1, 1).children[0]);
  lopsided.size += 3;
  EXPECT_EQ(treemap(lopsided, "/wide", kScreen).shapes().size(), 2u);
}

TEST(TreemapEdges, BytesNoChildAccountsForStayEmpty) {
  DiskNode folder = wideFolder(1, 500);
  folder.size = 1000;
  const auto layout = treemap(folder, "/wide", kScreen);
  ASSERT_EQ(layout.shapes().size(), 2u);
  EXPECT_NEAR(layout.shapes()[1].rect.area(), layout.shapes()[0].content.area() / 2, 1e-6);
}

TEST(TreemapEdges, DeterministicAndEqualSizesKeepTheTreeOrder) {
  const DiskNode tree = randomTree(3);
  const auto first = treemap(tree, "/", kScreen);
  const auto second = treemap(tree, "/", kScreen);
  ASSERT_EQ(first.shapes().size(), second.shapes().size());
  for (size_t i = 0; i < first.shapes().size(); ++i) {
    EXPECT_EQ(first.shapes()[i].rect, second.shapes()[i].rect);
    EXPECT_EQ(first.shapes()[i].node, second.shapes()[i].node);
  }
  const DiskNode equal = wideFolder(50, 7);
  const auto layout = treemap(equal, "/wide", kScreen);
  for (size_t i = 1; i < layout.shapes().size(); ++i) {
    EXPECT_EQ(layout.shapes()[i].name(), "c" + std::to_string(i - 1));
  }
}

TEST(TreemapEdges, HeaderBandOnlyWhereThereIsRoomForIt) {
  const TreemapOptions options;
  const DiskNode folder = wideFolder(2, 10);
  const auto roomy = treemap(folder, "/wide", kScreen, options);
  EXPECT_EQ(headerBand(roomy.shapes()[0]).height, options.headerHeight);
  const auto cramped = treemap(folder, "/wide", {0, 0, 200, 30}, options);
  EXPECT_EQ(headerBand(cramped.shapes()[0]).height, options.padding);
  const auto tiny = treemap(folder, "/wide", {0, 0, 3, 3}, options);
  ASSERT_EQ(tiny.shapes().size(), 1u);
  EXPECT_TRUE(tiny.shapes()[0].childrenHidden);
  EXPECT_TRUE(headerBand(tiny.shapes()[0]).empty());
}

TEST(TreemapHit, AgreesWithBruteForce) {
  std::mt19937 random(11);
  std::uniform_real_distribution<double> x(-20, kScreen.width + 20), y(-20, kScreen.height + 20);
  for (uint32_t seed : {2u, 5u, 9u}) {
    const DiskNode tree = randomTree(seed, {7, 16});
    const auto layout = treemap(tree, "/", kScreen);
    for (int i = 0; i < 2'000; ++i) {
      const Point p{x(random), y(random)};
      ASSERT_EQ(layout.hit(p), bruteForceHit(layout, p)) << p.x << "," << p.y;
    }
    // Corners and shared edges, where rounding is most likely to disagree.
    for (size_t i = 0; i < std::min<size_t>(layout.shapes().size(), 400); ++i) {
      const TreemapTile& tile = layout.shapes()[i];
      for (const Point p :
           {Point{tile.rect.x, tile.rect.y}, Point{tile.rect.right(), tile.rect.y}}) {
        ASSERT_EQ(layout.hit(p), bruteForceHit(layout, p));
      }
    }
  }
}

// The plain alternative: strips across the longer side, all in one direction.
std::vector<Rect> sliceAndDice(const std::vector<double>& areas, const Rect& within) {
  std::vector<Rect> tiles;
  double x = within.x;
  for (double area : areas) {
    const double width = area / within.height;
    tiles.push_back({x, within.y, width, within.height});
    x += width;
  }
  return tiles;
}

double meanAspect(const std::vector<Rect>& tiles) {
  double sum = 0;
  for (const Rect& r : tiles) sum += std::max(r.width / r.height, r.height / r.width);
  return sum / static_cast<double>(tiles.size());
}

TEST(Squarify, FillsTheRectangleInProportionAndBackToFront) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> weight(0.01, 1);
  std::vector<double> areas(300);
  for (double& a : areas) a = std::pow(weight(random), 3);
  std::sort(areas.rbegin(), areas.rend());
  double total = 0;
  for (double a : areas) total += a;
  for (double& a : areas) a *= kScreen.area() / total;

  const auto tiles = squarify(areas, kScreen);
  ASSERT_EQ(tiles.size(), areas.size());
  double covered = 0;
  for (size_t i = 0; i < tiles.size(); ++i) {
    EXPECT_NEAR(tiles[i].area(), areas[i], 1e-9 * kScreen.area());
    EXPECT_TRUE(within(kScreen, tiles[i], 1e-9));
    covered += tiles[i].area();
    // Each tile lies wholly before every later one along x or along y: the order
    // the city paints in.
    for (size_t j = i + 1; j < tiles.size(); ++j) {
      ASSERT_TRUE(tiles[i].right() <= tiles[j].x + 1e-9 || tiles[i].bottom() <= tiles[j].y + 1e-9)
          << i << " " << j;
    }
  }
  EXPECT_NEAR(covered, kScreen.area(), 1e-9 * kScreen.area());
  EXPECT_LE(largestOverlap(tiles), 1e-9 * kScreen.area());
}

TEST(Squarify, TilesAreCloserToSquaresThanSliceAndDice) {
  for (uint32_t seed = 1; seed <= 10; ++seed) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> weight(0.05, 1);
    std::vector<double> areas(static_cast<size_t>(20 * seed));
    for (double& a : areas) a = weight(random);
    std::sort(areas.rbegin(), areas.rend());
    double total = 0;
    for (double a : areas) total += a;
    for (double& a : areas) a *= kScreen.area() / total;
    const double squarified = meanAspect(squarify(areas, kScreen));
    const double sliced = meanAspect(sliceAndDice(areas, kScreen));
    EXPECT_LT(squarified, sliced / 2) << seed;
    EXPECT_LT(squarified, 2.5) << seed;
  }
}

}  // namespace
}  // namespace tallyfin::map
