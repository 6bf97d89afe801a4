#include "kit/cleanup/buckets.h"

#include <gtest/gtest.h>

#include <map>

#include "kit/cleanup/hotspots.h"
#include "kit/cleanup/keep_list.h"
#include "tests/support/temp_folder.h"
#include "tests/support/tree_builder.h"

namespace tallyfin {
namespace {

using testing::TreeBuilder;

const std::string kHome = "/Users/ann";
constexpr int64_t GiB = 1'073'741'824;

std::map<std::string, int64_t> byKey(const std::vector<Bucket>& buckets) {
  std::map<std::string, int64_t> sizes;
  for (const auto& bucket : buckets) sizes[bucket.key] = bucket.size;
  return sizes;
}

TEST(Buckets, DeepestRuleDecidesAndLooseBytesStayWithTheirFolder) {
  const auto tree = TreeBuilder()
                        .add(kHome + "/.cache/huggingface/hub/m", 40)
                        .add(kHome + "/.cache/pip", 30)
                        .add(kHome + "/Library/Caches/x", 20)
                        .add(kHome + "/Library/Preferences", 5)
                        .add(kHome + "/notes.txt", 3, DiskNode::Kind::file)
                        .add(kHome + "/Stuff", 7)
                        .add(kHome + "/folded", 11, DiskNode::Kind::smaller)
                        .add("/Library/Caches/y", 13)
                        .add("/usr/lib", 17)
                        .build();
  const auto sizes = byKey(Analysis::buckets(tree, kHome));
  EXPECT_EQ(sizes.at("ai"), 40);
  EXPECT_EQ(sizes.at("pkg"), 30);
  EXPECT_EQ(sizes.at("caches"), 33);
  EXPECT_EQ(sizes.at("appdata"), 5);
  EXPECT_EQ(sizes.at("home"), 21);  // the file, the unruled folder and the folded items
  EXPECT_EQ(sizes.at("system"), 17);
  int64_t sum = 0;
  for (const auto& [key, size] : sizes) sum += size;
  EXPECT_EQ(sum, tree.size);
}

TEST(Buckets, AFolderWithoutRulesBelowIsNotDescended) {
  const auto tree = TreeBuilder().add(kHome + "/Documents/a/b/c", 100).build();
  const auto buckets = Analysis::buckets(tree, kHome);
  ASSERT_EQ(buckets.size(), 1u);
  EXPECT_EQ(buckets[0].key, "docs");
  EXPECT_EQ(buckets[0].label, "Desktop & Documents");
}

TEST(Hotspots, NameConcretePlacesNotTheFoldersAboveThem) {
  const auto tree = TreeBuilder()
                        .add(kHome + "/Library/Application Support/Steam", 30 * GiB)
                        .add(kHome + "/Movies/a", 2 * GiB, DiskNode::Kind::file)
                        .add(kHome + "/Movies/b", 2 * GiB, DiskNode::Kind::file)
                        .add(kHome + "/Big/inner/deep", 5 * GiB)
                        .add(kHome + "/small", GiB - 1)
                        .add("/usr/lib/x", 3 * GiB)
                        .build();
  const auto hotspots = Analysis::hotspots(tree, kHome);
  ASSERT_EQ(hotspots.size(), 4u);
  EXPECT_EQ(hotspots[0].path, kHome + "/Library/Application Support/Steam");
  EXPECT_EQ(hotspots[1].path, kHome + "/Big/inner/deep");
  EXPECT_EQ(hotspots[2].path, kHome + "/Movies");  // two halves: the folder is the place
  EXPECT_EQ(hotspots[3].path, "/usr/lib/x");
  EXPECT_FALSE(hotspots[2].isFile);
}

TEST(Hotspots, AtMostTheLimit) {
  TreeBuilder builder;
  for (int i = 0; i < 20; ++i) builder.add(kHome + "/f" + std::to_string(i), GiB + i);
  const auto hotspots = Analysis::hotspots(builder.build(), kHome);
  ASSERT_EQ(hotspots.size(), 15u);
  EXPECT_EQ(hotspots[0].path, kHome + "/f19");
}

TEST(HiddenPaths, KeptHidesItselfRemovedHidesItsTree) {
  HiddenPaths hidden;
  hidden.kept = {"/a/b"};
  EXPECT_TRUE(hidden.contains("/a/b"));
  EXPECT_FALSE(hidden.contains("/a/b/c"));
  hidden.removed = {"/a/b"};
  EXPECT_TRUE(hidden.contains("/a/b/c"));
  EXPECT_FALSE(hidden.contains("/a/bc"));
  EXPECT_FALSE(hidden.contains("/a"));
}

TEST(KeepList, StoredSortedAndUpdatedUnderTheLock) {
  testing::TempFolder dir;
  const Store store(dir / "data");
  EXPECT_TRUE(KeepList::paths(store).empty());
  ASSERT_TRUE(KeepList::set(store, "/z", true).ok());
  ASSERT_TRUE(KeepList::set(store, "/a", true).ok());
  EXPECT_EQ(*store.loadText(Store::File::keep), R"(["/a","/z"])");
  const auto after = KeepList::set(store, "/z", false);
  ASSERT_TRUE(after.ok());
  EXPECT_EQ(*after, (std::set<std::string>{"/a"}));
  EXPECT_EQ(KeepList::paths(store), (std::set<std::string>{"/a"}));
}

}  // namespace
}  // namespace tallyfin
