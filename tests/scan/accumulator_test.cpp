#include "kit/scan/accumulator.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace tallyfin {
namespace {

using Shared = std::map<int64_t, std::vector<std::string>>;  // by size, as the groups here differ

Shared sharedOf(HardLinks& links) {
  Shared shared;
  links.forEachShared([&](int64_t size, std::vector<std::string>& paths) {
    EXPECT_FALSE(shared.contains(size)) << "one call per inode";
    shared[size] = paths;
  });
  return shared;
}

TEST(HardLinks, GroupsLinksFromEveryWorkerByInodeWithSortedPaths) {
  HardLinks first, second, third;
  first.add("/b", "x", 7, 700);
  first.add("/b", "y", 9, 900);
  first.add("/solo", "z", 5, 500);  // its other link is outside the scan
  second.add("/a", "x", 7, 700);
  second.add("/c/deep", "y", 9, 900);
  third.add("/a/sub", "y", 9, 900);
  third.add("/a-b", "w", 3, 300);
  first.add("/b", "w", 3, 300);
  first.absorb(std::move(second));
  first.absorb(std::move(third));

  const Shared shared = sharedOf(first);
  EXPECT_EQ(shared, (Shared{{300, {"/a-b/w", "/b/w"}},
                            {700, {"/a/x", "/b/x"}},
                            {900, {"/a/sub/y", "/b/y", "/c/deep/y"}}}));
  HardLinks none;
  EXPECT_TRUE(sharedOf(none).empty());
}

TEST(Accumulator, RollingBackForgetsWhatAFailedListingCounted) {
  Accumulator accumulator;
  accumulator.countFile(FileKind::video, 100);
  accumulator.largeFiles.push_back({"/kept.mov", 100, 0, 0});
  accumulator.links.add("/kept", "a", 1, 10);
  const Accumulator::Checkpoint checkpoint = accumulator.checkpoint();

  accumulator.countFile(FileKind::video, 50);
  accumulator.countFile(FileKind::caches, 7);
  accumulator.largeFiles.push_back({"/failed/big.mov", 50, 0, 0});
  accumulator.links.add("/failed", "b", 1, 10);
  accumulator.links.add("/failed", "c", 2, 20);
  accumulator.rollBack(checkpoint);

  const auto totals = accumulator.typeTotals();
  ASSERT_EQ(totals.size(), 1u);
  EXPECT_EQ(totals[0].kind, FileKind::video);
  EXPECT_EQ(totals[0].size, 100);
  EXPECT_EQ(totals[0].files, 1);
  ASSERT_EQ(accumulator.largeFiles.size(), 1u);
  EXPECT_EQ(accumulator.largeFiles[0].path, "/kept.mov");
  // Only the link from before is left; the same folder's links still share its path.
  accumulator.links.add("/kept", "d", 1, 10);
  EXPECT_EQ(sharedOf(accumulator.links), (Shared{{10, {"/kept/a", "/kept/d"}}}));
}

TEST(Accumulator, AbsorbingWorkersAddsCountersAndTakesTheirLists) {
  std::vector<Accumulator> workers(2);
  workers[0].countFile(FileKind::video, 5);
  workers[1].countFile(FileKind::video, 6);
  workers[0].links.add("/w0", "f", 4, 40);
  workers[1].links.add("/w1", "f", 4, 40);
  workers[1].largeFiles.push_back({"/w1/big", 6, 0, 0});
  for (int i = 0; i < 60; ++i) workers[i % 2].deny("/denied" + std::to_string(i));

  Accumulator merged;
  merged.absorb(workers);
  EXPECT_EQ(merged.typeTotals()[0].size, 11);
  EXPECT_EQ(merged.typeTotals()[0].files, 2);
  EXPECT_EQ(merged.largeFiles.size(), 1u);
  EXPECT_TRUE(workers[1].largeFiles.empty());
  EXPECT_EQ(merged.denied, 60);
  EXPECT_EQ(merged.deniedSample.size(), Accumulator::kDeniedSampleLimit);
  EXPECT_EQ(sharedOf(merged.links), (Shared{{40, {"/w0/f", "/w1/f"}}}));
}

}  // namespace
}  // namespace tallyfin
