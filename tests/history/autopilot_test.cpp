#include "kit/history/autopilot.h"

#include <gtest/gtest.h>

#include "tests/support/tree_builder.h"

namespace tallyfin {
namespace {

constexpr double kNow = 1'800'000'000;
constexpr int64_t kDay = 86'400;

CleanupItem item(std::string path, std::optional<int64_t> modified,
                 std::optional<int64_t> lastUsed = std::nullopt) {
  CleanupItem i;
  i.path = std::move(path);
  i.safety = Safety::safe;
  i.category = CleanupCategory::appCaches;
  i.size = 100;
  i.modified = modified;
  i.lastUsed = lastUsed;
  return i;
}

std::vector<std::string> paths(const std::vector<CleanupItem>& items) {
  std::vector<std::string> result;
  for (const auto& i : items) result.push_back(i.path);
  return result;
}

const AutopilotSettings kFortnight{true, 14};
const int64_t kCutoff = static_cast<int64_t>(kNow) - 14 * kDay;

TEST(Autopilot, AgeMustBeStrictlyBeforeTheCutoff) {
  EXPECT_TRUE(Autopilot::select({item("/a", kCutoff)}, {}, kFortnight, kNow).empty());
  EXPECT_EQ(Autopilot::select({item("/a", kCutoff - 1)}, {}, kFortnight, kNow).size(), 1u);
  // A present lastUsed wins, even when it is 0 and modified is old.
  EXPECT_TRUE(Autopilot::select({item("/a", 5, 0)}, {}, kFortnight, kNow).empty());
  EXPECT_TRUE(Autopilot::select({item("/a", std::nullopt)}, {}, kFortnight, kNow).empty());
}

TEST(Autopilot, OnlySafeTrashableUnkeptNonDownloads) {
  auto review = item("/review", 5);
  review.safety = Safety::review;
  auto untrashable = item("/vm", 5);
  untrashable.trashable = false;
  auto installer = item("/home/Downloads/x.dmg", 5);
  installer.category = CleanupCategory::downloads;
  const auto selected = Autopilot::select(
      {review, untrashable, installer, item("/kept", 5), item("relative", 5), item("/ok", 5)},
      {"/kept"}, kFortnight, kNow);
  EXPECT_EQ(paths(selected), std::vector<std::string>{"/ok"});
  EXPECT_TRUE(Autopilot::select({item("/ok", 5)}, {}, {false, 14}, kNow).empty());
}

TEST(Autopilot, AFolderAndItsContentsAreNeverBothMoved) {
  const auto selected = Autopilot::select(
      {item("/a/cache/sub", 5), item("/a/cache2", 5), item("/a/cache", 5), item("/a/cache-x", 5)},
      {}, kFortnight, kNow);
  EXPECT_EQ(paths(selected), (std::vector<std::string>{"/a/cache-x", "/a/cache", "/a/cache2"}));
  // Each item is expected to be what the scan saw there: a folder, a file, or unknown.
  const DiskNode tree = testing::TreeBuilder()
                            .add("/a/cache-x", 5)
                            .add("/a/cache", 5, DiskNode::Kind::file)
                            .build();
  const auto batch = Autopilot::batch(selected, tree);
  ASSERT_EQ(batch.size(), 3u);
  EXPECT_EQ(batch[0].origin, TrashItem::Origin::autopilot);
  EXPECT_EQ(batch[0].size, 100);
  EXPECT_EQ(batch[0].seen, (ItemIdentity{ItemIdentity::Type::folder, std::nullopt, std::nullopt}));
  EXPECT_EQ(batch[1].seen, (ItemIdentity{ItemIdentity::Type::file, std::nullopt, std::nullopt}));
  EXPECT_EQ(batch[2].seen, std::nullopt);
}

}  // namespace
}  // namespace tallyfin
