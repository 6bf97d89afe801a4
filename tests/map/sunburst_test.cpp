#include "kit/map/sunburst.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "tests/map/random_tree.h"
#include "tests/map/shape_checks.h"

namespace tallyfin::map {
namespace {

using testing::childLists;
using testing::randomTree;
using testing::wideFolder;

// Each child takes its share of its folder's angle, inside that angle and one ring
// further out; siblings follow one another without overlapping; nothing but the
// centre is narrower than the minimum; nothing lies beyond the depth limit.
void expectSunburstInvariants(const SunburstLayout& layout, const SunburstOptions& options) {
  const auto& segments = layout.shapes();
  ASSERT_FALSE(segments.empty());
  EXPECT_EQ(segments[0].ring, (Ring{0, kFullTurn, 0, layout.ringWidth()}));
  const auto children = childLists(segments);
  for (size_t i = 0; i < segments.size(); ++i) {
    const SunburstSegment& segment = segments[i];
    EXPECT_LE(segment.depth, options.maxDepth);
    EXPECT_NEAR(segment.ring.outerRadius - segment.ring.innerRadius, layout.ringWidth(), 1e-12);
    if (i > 0) {
      EXPECT_GE(segment.ring.span(), options.minimumAngle) << label(segment);
    }
    if (segment.depth == options.maxDepth && segment.node) {
      EXPECT_EQ(segment.childrenHidden, !segment.node->children.empty() && segment.size > 0);
    }
    if (children[i].empty()) continue;
    const double perByte = segment.ring.span() / static_cast<double>(segment.node->size);
    double previousEnd = segment.ring.startAngle;
    for (size_t c : children[i]) {
      const Ring& ring = segments[c].ring;
      EXPECT_NEAR(ring.span(), static_cast<double>(segments[c].size) * perByte, 1e-9);
      EXPECT_GE(ring.startAngle, previousEnd - 1e-12);
      EXPECT_LE(ring.endAngle, segment.ring.endAngle + 1e-12);
      EXPECT_DOUBLE_EQ(ring.innerRadius, segment.ring.outerRadius);
      previousEnd = ring.endAngle;
    }
  }
}

std::optional<size_t> bruteForceHit(const SunburstLayout& layout, Point p) {
  const double radius = std::hypot(p.x, p.y), angle = angleOf(p);
  const auto& segments = layout.shapes();
  for (size_t i = segments.size(); i-- > 0;) {
    if (holds(segments[i].ring, radius, angle)) return i;
  }
  return std::nullopt;
}

TEST(SunburstInvariants, HoldOnGeneratedTrees) {
  for (uint32_t seed = 1; seed <= 12; ++seed) {
    SCOPED_TRACE(seed);
    const DiskNode tree = randomTree(seed, {8, 12});
    for (const SunburstOptions options : {SunburstOptions{}, SunburstOptions{3, 0.05}}) {
      expectSunburstInvariants(sunburst(tree, "/", options), options);
    }
  }
}

TEST(SunburstInvariants, AnglesAreSharesOfTheWholeDisc) {
  const DiskNode tree = randomTree(4, {6, 10});
  const auto layout = sunburst(tree, "/", {6, 0});
  for (const auto& segment : layout.shapes()) {
    EXPECT_NEAR(segment.ring.span(),
                kFullTurn * static_cast<double>(segment.size) / static_cast<double>(tree.size),
                1e-9);
  }
}

TEST(SunburstEdges, ZeroSizeAndSingleChild) {
  const DiskNode zeros = wideFolder(4, 0);
  EXPECT_EQ(sunburst(zeros, "/wide").shapes().size(), 1u);
  const DiskNode single = wideFolder(1, 12);
  const auto layout = sunburst(single, "/wide");
  ASSERT_EQ(layout.shapes().size(), 2u);
  EXPECT_EQ(layout.shapes()[1].ring.startAngle, 0);
  EXPECT_EQ(layout.shapes()[1].ring.endAngle, kFullTurn);
}

TEST(SunburstEdges, TenThousandNarrowChildrenBecomeOneSegment) {
  const DiskNode folder = wideFolder(10'000, 5);
  const auto layout = sunburst(folder, "/wide");
  ASSERT_EQ(layout.shapes().size(), 2u);
  const auto& merged = layout.shapes()[1];
  EXPECT_EQ(merged.mergedCount, 10'000);
  EXPECT_EQ(merged.size, 50'000);
  EXPECT_EQ(label(merged), "10000 smaller items");
  EXPECT_TRUE(merged.aggregate());
  EXPECT_NEAR(merged.ring.span(), kFullTurn, 1e-12);
  // With room for each, every one is drawn.
  const auto fine = sunburst(folder, "/wide", {2, 0.0001});
  EXPECT_EQ(fine.shapes().size(), 10'001u);
  expectSunburstInvariants(fine, {2, 0.0001});
}

TEST(SunburstEdges, DeterministicWithEqualSizesInTreeOrder) {
  const DiskNode tree = randomTree(8);
  const auto a = sunburst(tree, "/"), b = sunburst(tree, "/");
  ASSERT_EQ(a.shapes().size(), b.shapes().size());
  for (size_t i = 0; i < a.shapes().size(); ++i) {
    EXPECT_EQ(a.shapes()[i].ring, b.shapes()[i].ring);
    EXPECT_EQ(a.shapes()[i].node, b.shapes()[i].node);
  }
  const DiskNode thirty = wideFolder(30, 9);
  const auto equal = sunburst(thirty, "/wide");
  for (size_t i = 2; i < equal.shapes().size(); ++i) {
    EXPECT_LT(equal.shapes()[i - 1].ring.startAngle, equal.shapes()[i].ring.startAngle);
    EXPECT_EQ(equal.shapes()[i].name(), "c" + std::to_string(i - 1));
  }
}

TEST(SunburstHit, AgreesWithBruteForce) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> coordinate(-1.1, 1.1);
  for (uint32_t seed : {1u, 6u, 12u}) {
    const DiskNode tree = randomTree(seed, {8, 14});
    const auto layout = sunburst(tree, "/");
    for (int i = 0; i < 5'000; ++i) {
      const Point p{coordinate(random), coordinate(random)};
      ASSERT_EQ(layout.hit(p), bruteForceHit(layout, p)) << p.x << "," << p.y;
    }
    // Points on segment edges, where the ring search meets its boundaries.
    for (const auto& segment : layout.shapes()) {
      const double r = segment.ring.innerRadius, a = segment.ring.startAngle;
      const Point p{r * std::sin(a), -r * std::cos(a)};
      ASSERT_EQ(layout.hit(p), bruteForceHit(layout, p));
    }
  }
}

}  // namespace
}  // namespace tallyfin::map
