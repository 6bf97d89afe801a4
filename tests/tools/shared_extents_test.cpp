// Files on a small btrfs volume that share extents through reflinks: the private
// size counts only what a file holds alone, and the duplicate finder's space
// freed counts extents that copies share once.

#include <gtest/gtest.h>

#include <memory>

#include "kit/tools/duplicate_finder.h"
#include "kit/tools/file_facts.h"
#include "tests/support/file_content.h"
#include "tests/support/loop_volume.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::MiB;
using testing::patternFile;
using testing::reflinkCopy;
using testing::setModified;

// btrfs's block: rewriting one byte of a clone makes this much its own.
constexpr int64_t kBlock = 4096;

class SharedExtents : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string whyNot;
    volume_ = testing::LoopVolume::btrfs(folder_.path(), whyNot);
    if (!volume_) GTEST_SKIP() << "no btrfs volume for reflinks: " << whyNot;
    testing::makeFolder(at("Movies"));
    testing::makeFolder(at("Backup"));
  }

  std::string at(const std::string& relative) const { return volume_->path() + "/" + relative; }

  std::vector<DuplicateGroup> duplicates() const {
    const DuplicateSearch search{volume_->path(), MiB, false, nullptr, nullptr, nullptr, {}};
    return DuplicateFinder::find(DuplicateFinder::collect(volume_->path(), search).candidates, search);
  }

 private:
  testing::TempFolder folder_;
  std::unique_ptr<testing::LoopVolume> volume_;  // unmounted before the folder goes
};

TEST_F(SharedExtents, PrivateSizeLeavesOutWhatAReflinkShares) {
  const std::string original = at("Movies/a.mov");
  patternFile(original, 4 * MiB, 1);
  ASSERT_TRUE(reflinkCopy(original, at("Backup/clone.mov")));
  EXPECT_EQ(FileFacts::privateSize(original), 0);
  EXPECT_EQ(FileFacts::privateSize(at("Backup/clone.mov")), 0);

  // A copy written out owns every block of it.
  patternFile(at("Backup/copy.mov"), 4 * MiB, 1);
  EXPECT_EQ(FileFacts::privateSize(at("Backup/copy.mov")), 4 * MiB);

  // One byte changed in a clone makes that block its own; the rest stays shared,
  // and the original still shares all of it with the first clone.
  ASSERT_TRUE(reflinkCopy(original, at("Backup/edited.mov")));
  testing::flipByte(at("Backup/edited.mov"), 5 * kBlock + 7);
  EXPECT_EQ(FileFacts::privateSize(at("Backup/edited.mov")), kBlock);
  EXPECT_EQ(FileFacts::privateSize(original), 0);
}

TEST_F(SharedExtents, SpaceFreedCountsSharedExtentsOnce) {
  patternFile(at("Movies/a.mov"), 4 * MiB, 1);
  setModified(at("Movies/a.mov"), 1'600'000'000);
  ASSERT_TRUE(reflinkCopy(at("Movies/a.mov"), at("Backup/clone.mov")));
  setModified(at("Backup/clone.mov"), 1'700'000'000);

  // Two clones of one another: removing either frees next to nothing.
  auto groups = duplicates();
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].files.size(), 2u);
  EXPECT_EQ(groups[0].reclaimable(), 0);
  EXPECT_TRUE(groups[0].sharesStorage());

  // A real copy beside them: only its own blocks come free, whichever clone is kept.
  patternFile(at("Backup/copy.mov"), 4 * MiB, 1);
  setModified(at("Backup/copy.mov"), 1'650'000'000);
  groups = duplicates();
  ASSERT_EQ(groups.size(), 1u);
  ASSERT_EQ(groups[0].files.size(), 3u);
  EXPECT_EQ(groups[0].byAge().front().path, at("Movies/a.mov"));
  EXPECT_EQ(groups[0].reclaimable(), 4 * MiB);
  EXPECT_FALSE(groups[0].sharesStorage());

  setModified(at("Backup/clone.mov"), 1'500'000'000);
  groups = duplicates();
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].byAge().front().path, at("Backup/clone.mov"));
  EXPECT_EQ(groups[0].reclaimable(), 4 * MiB);
}

}  // namespace
}  // namespace tallyfin
