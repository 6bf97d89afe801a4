#include "kit/scan/mount_table.h"

#include <gtest/gtest.h>

#include "kit/platform/mount_points.h"

namespace tallyfin {
namespace {

TEST(MountTable, NormalizeDropsTheRootsAndAddsTheDataVolumeAlias) {
  EXPECT_EQ(MountTable::normalize({"/", "/System/Volumes/Data", "/System/Volumes/Data/home"}),
            (PathSet{"/System/Volumes/Data/home"}));
  EXPECT_EQ(MountTable::normalize({"/Volumes/Backup"}),
            (PathSet{"/Volumes/Backup", "/System/Volumes/Data/Volumes/Backup"}));
  EXPECT_TRUE(MountTable::normalize({}).empty());
}

TEST(MountTable, ParsesMountInfoAndDecodesEscapes) {
  const auto points = platform::parseMountInfo(
      "22 1 8:1 / / rw,relatime shared:1 - ext4 /dev/vda rw\n"
      "40 22 0:35 / /media/My\\040Disk rw - vfat /dev/sdb1 rw\n"
      "41 22 0:36 / /mnt/tab\\011and\\134slash rw - tmpfs tmpfs rw\n"
      "garbage\n");
  EXPECT_EQ(points, (std::vector<std::string>{"/", "/media/My Disk", "/mnt/tab\tand\\slash"}));
}

TEST(MountTable, CurrentHoldsThisSystemsMounts) {
  const auto mounts = MountTable::current();
  EXPECT_TRUE(mounts.contains("/proc"));
  EXPECT_TRUE(mounts.contains("/System/Volumes/Data/proc"));
  EXPECT_FALSE(mounts.contains("/"));
}

}  // namespace
}  // namespace tallyfin
