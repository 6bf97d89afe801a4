#include "kit/tools/content_classes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/file_content.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::flipByte;
using testing::MiB;
using testing::patternFile;
using testing::TempFolder;

// An odd size: the last block is short and no block ends on a page boundary there.
constexpr int64_t kSize = 3 * MiB + 12'345;

std::string sha256sumOf(const std::string& path) {
  return testing::runProcess("/usr/bin/sha256sum", {path}, {}).out.substr(0, 64);
}

struct Classes {
  TempFolder folder;
  std::vector<std::string> paths;
  int64_t bytesRead = 0;
  int64_t largestRead = 0;

  // A copy of the seed-1 content, changed at `changedAt` unless that is negative.
  void add(const std::string& name, int64_t changedAt = -1, int64_t size = kSize) {
    paths.push_back(folder / name);
    patternFile(paths.back(), size, 1);
    if (changedAt >= 0) flipByte(paths.back(), changedAt);
  }

  std::vector<ContentClass> split(bool hashLoners, const SideBySideLimits& limits = {},
                                  const CancelToken* cancel = nullptr,
                                  const std::function<void()>& onRead = {}) {
    const ReadWatch watch(cancel, [&](int64_t bytes) {
      bytesRead += bytes;
      largestRead = std::max(largestRead, bytes);
      if (onRead) onRead();
    });
    return ContentClasses::split(paths, kSize, hashLoners, watch, limits);
  }

  std::vector<std::vector<size_t>> membersOf(const std::vector<ContentClass>& classes) const {
    std::vector<std::vector<size_t>> members;
    for (const auto& found : classes) {
      EXPECT_EQ(found.sha256, sha256sumOf(paths[found.members.front()]));
      members.push_back(found.members);
    }
    std::sort(members.begin(), members.end());
    return members;
  }
};

TEST(ContentClasses, SplitsWhereverFilesDifferAndHashesEachClassOnce) {
  Classes group;
  group.add("b1", 2 * MiB + 100);  // a middle block
  group.add("a1");
  group.add("c", kSize - 1);  // the very last byte
  group.add("a2");
  group.add("b2", 2 * MiB + 100);
  using Members = std::vector<std::vector<size_t>>;
  EXPECT_EQ(group.membersOf(group.split(false)), (Members{{0, 4}, {1, 3}}));
  // The loner differs only at the end, so every byte of every file was read.
  EXPECT_EQ(group.bytesRead, 5 * kSize);

  EXPECT_EQ(group.membersOf(group.split(true)), (Members{{0, 4}, {1, 3}, {2}}));
}

TEST(ContentClasses, AFileUnlikeAllOthersIsLetGoAtItsFirstDifference) {
  Classes group;
  group.add("a1");
  group.add("early", 100);
  group.add("a2");
  const auto classes = group.split(false);
  ASSERT_EQ(classes.size(), 1u);
  EXPECT_EQ(classes[0].members, (std::vector<size_t>{0, 2}));
  EXPECT_EQ(group.bytesRead, 2 * kSize + MiB);

  Classes alone;
  alone.add("only");
  EXPECT_TRUE(alone.split(false).empty());
  EXPECT_EQ(alone.bytesRead, 0);
  EXPECT_EQ(alone.membersOf(alone.split(true)), (std::vector<std::vector<size_t>>{{0}}));
}

TEST(ContentClasses, FilesThatCannotBeReadOrChangedSizeAreLeftOut) {
  Classes group;
  group.add("a1");
  group.add("longer", -1, kSize + 1);
  group.add("a2");
  group.paths.push_back(group.folder / "missing");
  group.add("a3");
  EXPECT_EQ(group.membersOf(group.split(false)), (std::vector<std::vector<size_t>>{{0, 2, 4}}));
}

int openDescriptors() {
  return static_cast<int>(std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                                        std::filesystem::directory_iterator()));
}

TEST(ContentClasses, AGroupLargerThanTheOpenFileBoundIsTakenInPartsAndMatchedByHash) {
  Classes group;
  group.add("a1");
  group.add("b1", MiB + 7);
  group.add("a2");
  group.add("c", 5);
  group.add("b2", MiB + 7);
  group.add("a3");
  group.add("d", 3 * MiB);
  const int before = openDescriptors();
  int mostOpen = 0;
  const auto classes = group.split(false, {2, 16 * MiB}, nullptr, [&] { mostOpen = std::max(mostOpen, openDescriptors()); });
  // Both counts include the descriptor of the listing that counts them.
  EXPECT_EQ(mostOpen - before, 2);
  // Loners of one part may match another part, so every file was hashed.
  EXPECT_EQ(group.membersOf(classes), (std::vector<std::vector<size_t>>{{0, 2, 5}, {1, 4}, {3}, {6}}));
  EXPECT_EQ(group.bytesRead, 7 * kSize);
}

TEST(ContentClasses, BlocksShrinkToKeepManyOpenFilesWithinTheBufferLimit) {
  Classes group;
  for (int i = 0; i < 6; ++i) group.add("copy" + std::to_string(i));
  // 6 files in 512 KiB: 84 KiB each, whole pages.
  const auto classes = group.split(false, {64, 512 * 1024});
  ASSERT_EQ(classes.size(), 1u);
  EXPECT_EQ(classes[0].members.size(), 6u);
  EXPECT_EQ(group.largestRead, 84 * 1024 / 4096 * 4096);
  EXPECT_EQ(group.bytesRead, 6 * kSize);

  Classes tiny;
  for (int i = 0; i < 3; ++i) tiny.add("copy" + std::to_string(i));
  tiny.split(false, {64, 1});
  EXPECT_EQ(tiny.largestRead, 64 * 1024);  // never below one sample's worth
}

TEST(ContentClasses, CancellingMidGroupStopsReadingAndReturnsNothing) {
  Classes group;
  for (int i = 0; i < 3; ++i) group.add("copy" + std::to_string(i));
  CancelToken cancel;
  int reads = 0;
  EXPECT_TRUE(group.split(false, {}, &cancel, [&] {
    if (++reads == 4) cancel.cancel();
  }).empty());
  EXPECT_EQ(group.bytesRead, 4 * MiB);
}

}  // namespace
}  // namespace tallyfin
