#include "kit/tools/duplicate_group.h"

#include <gtest/gtest.h>

#include <limits>

#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

TEST(DuplicateGroup, KeepsTheOldestAndCountsOnlyPrivateBytesOfTheRest) {
  DuplicateGroup group;
  group.files = {{"/b", 200, 100}, {"/a", 100, 100}, {"/c", 200, 0}, {"/d", 300, 40}};
  const auto sorted = group.byAge();
  EXPECT_EQ(sorted[0].path, "/a");
  EXPECT_EQ(sorted[1].path, "/b");  // equal times keep their order
  EXPECT_EQ(sorted[2].path, "/c");
  EXPECT_EQ(group.reclaimable(), 140);  // the clone /c frees nothing

  group.files = {{"/x", 1, 5}, {"/y", 2, std::numeric_limits<int64_t>::max()}, {"/z", 3, 5}};
  EXPECT_EQ(group.reclaimable(), std::numeric_limits<int64_t>::max());
}

TEST(DuplicateGroup, ClonesFreeUnderOnePercentOfACopy) {
  DuplicateGroup group;
  group.size = 1'000;
  group.files = {{"/a", 1, 1'000}, {"/b", 2, 9}};
  EXPECT_TRUE(group.sharesStorage());
  group.files[1].privateSize = 10;  // exactly 1%: a real copy, if a tiny one
  EXPECT_FALSE(group.sharesStorage());
  EXPECT_TRUE(DuplicateFinder::freesNextToNothing(1'001, 10));
  EXPECT_FALSE(DuplicateFinder::freesNextToNothing(0, 0));
  EXPECT_FALSE(DuplicateFinder::freesNextToNothing(std::numeric_limits<int64_t>::max(),
                                                   std::numeric_limits<int64_t>::max()));
}

TEST(DuplicateFinder, UserFilesAreTheUsersOwn) {
  const std::string home = "/home/ann";
  EXPECT_TRUE(DuplicateFinder::isUserFile("/home/ann/Movies/a.mov", home));
  EXPECT_TRUE(DuplicateFinder::isUserFile("/home/ann/a.iso", home));
  EXPECT_TRUE(DuplicateFinder::isUserFile("/home/ann/Movies/.hidden-file", home));
  EXPECT_FALSE(DuplicateFinder::isUserFile("/home/ann/Library/x", home));
  EXPECT_FALSE(DuplicateFinder::isUserFile("/home/ann/.cache/x", home));
  EXPECT_FALSE(DuplicateFinder::isUserFile("/home/ann/code/.git/pack", home));
  EXPECT_FALSE(DuplicateFinder::isUserFile("/home/ann/Apps/Tool.app/bin", home));
  EXPECT_FALSE(DuplicateFinder::isUserFile("/home/ann/Pictures/P.photoslibrary/x.jpg", home));
  EXPECT_FALSE(DuplicateFinder::isUserFile("/home/ann/code/node_modules/x.tgz", home));
  EXPECT_FALSE(DuplicateFinder::isUserFile("/home/anna/x", home));
  EXPECT_FALSE(DuplicateFinder::isUserFile("/opt/x", home));
}

TEST(DuplicateFinder, SuggestedFoldersThatExistInOrder) {
  testing::TempFolder home;
  testing::makeFolder(home / "Music");
  testing::makeFolder(home / "Downloads");
  testing::writeFile(home / "Movies", 1);  // a file, not a folder
  EXPECT_EQ(DuplicateFinder::suggestedFolders(home.path()),
            (std::vector<std::string>{home / "Downloads", home / "Music"}));
}

TEST(DuplicateFinder, OnlyByteForByteCopiesAreConfirmed) {
  testing::TempFolder dir;
  testing::writeFile(dir / "keep", 5000);
  testing::writeFile(dir / "same", 5000);
  testing::writeFile(dir / "longer", 5001);
  testing::writeFile(dir / "other", 5000);
  std::FILE* file = std::fopen((dir / "other").c_str(), "r+");
  std::fseek(file, 4999, SEEK_SET);
  std::fputc('y', file);
  std::fclose(file);
  EXPECT_EQ(DuplicateFinder::confirmed(dir / "keep", {dir / "same", dir / "longer", dir / "other",
                                                      dir / "gone", dir / "keep"}),
            std::vector<std::string>{dir / "same"});
}

}  // namespace
}  // namespace tallyfin
