#include "kit/scan/directory_reader.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <map>

#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::TempFolder;

// The listing copied out, by name, so both readers' results can be compared.
std::map<std::string, DirEntry> byName(Listing listing) {
  std::map<std::string, DirEntry> entries;
  for (const auto& entry : listing) entries.emplace(std::string(entry.name), entry);
  return entries;
}

class DirectoryReaderTest : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::writeFile(dir / "small.txt", 100);
    testing::hardLink(dir / "small.txt", dir / "second");
    testing::hardLink(dir / "small.txt", dir / "sub/third");
    testing::sparseFile(dir / "sparse.img", 64 << 20);
    testing::symbolicLink("sub", dir / "link-to-sub");
    ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0644), 0);
  }

  TempFolder dir;
};

TEST_F(DirectoryReaderTest, ReportsTheFieldsTheScanNeeds) {
  DirectoryReader reader({});
  const auto listing = reader.list(dir.path());
  ASSERT_TRUE(listing.ok()) << listing.error().message();
  const auto entries = byName(*listing);
  ASSERT_EQ(entries.size(), 6u);  // no "." or ".."

  const DirEntry& small = entries.at("small.txt");
  EXPECT_FALSE(small.isDirectory);
  EXPECT_EQ(small.linkCount, 3u);
  EXPECT_EQ(small.logicalSize, 100);
  EXPECT_EQ(small.allocatedSize, testing::allocatedBytes(dir / "small.txt"));
  EXPECT_EQ(entries.at("second").inode, small.inode);

  const DirEntry& sparse = entries.at("sparse.img");
  EXPECT_EQ(sparse.logicalSize, 64 << 20);
  EXPECT_LT(sparse.allocatedSize, sparse.logicalSize);

  const DirEntry& sub = entries.at("sub");
  EXPECT_TRUE(sub.isDirectory);
  EXPECT_EQ(sub.logicalSize, 0);
  EXPECT_EQ(sub.allocatedSize, 0);
  EXPECT_EQ(sub.linkCount, 1u);  // the bulk reader does not report folders' link counts

  EXPECT_FALSE(entries.at("link-to-sub").isDirectory);  // links are never followed
  EXPECT_FALSE(entries.at("pipe").isDirectory);

  struct stat info;
  ASSERT_EQ(::stat(dir.path().c_str(), &info), 0);
  EXPECT_EQ(sub.device, static_cast<int32_t>(info.st_dev));
  EXPECT_GT(small.modified, 1'600'000'000);
  EXPECT_GT(small.accessed, 1'600'000'000);
}

TEST_F(DirectoryReaderTest, PortableReaderGivesTheSameFieldsBarFolderLinkCounts) {
  DirectoryReader bulk({});
  DirectoryReader portable({});
  const int fd = ::open(dir.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_GE(fd, 0);
  const auto fast = byName(*bulk.list(fd, dir.path()));
  const auto slow = byName(*portable.listPortable(fd, dir.path()));
  ::close(fd);

  ASSERT_EQ(fast.size(), slow.size());
  for (const auto& [name, entry] : fast) {
    const DirEntry& other = slow.at(name);
    EXPECT_EQ(entry.isDirectory, other.isDirectory) << name;
    EXPECT_EQ(entry.device, other.device) << name;
    EXPECT_EQ(entry.modified, other.modified) << name;
    EXPECT_EQ(entry.inode, other.inode) << name;
    EXPECT_EQ(entry.logicalSize, other.logicalSize) << name;
    EXPECT_EQ(entry.allocatedSize, other.allocatedSize) << name;
    if (!entry.isDirectory) {
      EXPECT_EQ(entry.linkCount, other.linkCount) << name;
    }
  }
  EXPECT_EQ(slow.at("sub").linkCount, 2u);
}

TEST(DirectoryReader, RepairsInvalidNamesButKeepsTheBytesToOpenThem) {
  TempFolder dir;
  testing::writeFile(dir / "bad\xFFname", 1);
  testing::writeFile(dir / "line\nbreak", 1);
  DirectoryReader reader({});
  const auto listing = reader.list(dir.path());
  ASSERT_TRUE(listing.ok());
  const auto entries = byName(*listing);
  ASSERT_TRUE(entries.contains("bad\xEF\xBF\xBDname"));
  EXPECT_EQ(entries.at("bad\xEF\xBF\xBDname").rawName, "bad\xFFname");
  EXPECT_TRUE(entries.contains("line\nbreak"));
}

TEST(DirectoryReader, ListedMountPointsGetDeviceMinusOne) {
  TempFolder dir;
  testing::makeFolder(dir / "mounted");
  testing::makeFolder(dir / "plain");
  DirectoryReader reader({dir / "mounted"});
  const auto entries = byName(*reader.list(dir.path()));
  EXPECT_EQ(entries.at("mounted").device, -1);
  EXPECT_NE(entries.at("plain").device, -1);

  DirectoryReader trailing({dir / "mounted"});
  EXPECT_EQ(byName(*trailing.list(dir.path() + "/")).at("mounted").device, -1);
}

TEST(DirectoryReader, UnreadableFolderFailsWithItsPathAndErrno) {
  TempFolder dir;
  testing::makeFolder(dir / "locked");
  testing::setMode(dir / "locked", 0);
  testing::openToEveryone(dir.path());
  testing::setMode(dir / "locked", 0);
  const std::string locked = dir / "locked";
  const int code = testing::runUnprivileged([&] {
    DirectoryReader reader({});
    const auto listing = reader.list(locked);
    if (listing.ok() || listing.error().path != locked) return 1;
    return listing.error().code;
  });
  EXPECT_EQ(code, EACCES);
}

TEST(DirectoryReader, MissingFolderAndFileAreErrors) {
  TempFolder dir;
  testing::writeFile(dir / "file", 1);
  DirectoryReader reader({});
  EXPECT_EQ(reader.list(dir / "missing").error().code, ENOENT);
  EXPECT_EQ(reader.list(dir / "file").error().code, ENOTDIR);
  testing::symbolicLink(dir.path(), dir / "link");
  EXPECT_FALSE(reader.list(dir / "link").ok());  // a link to a folder is not followed
}

TEST(DirectoryReader, ListsLargeFoldersAcrossManyBatches) {
  TempFolder dir;
  constexpr int kCount = 5000;  // far more than one 128 KiB batch of long names
  const std::string padding(180, 'n');
  for (int i = 0; i < kCount; ++i) testing::writeFile(dir / (padding + std::to_string(i)));
  DirectoryReader reader({});
  const auto listing = reader.list(dir.path());
  ASSERT_TRUE(listing.ok());
  EXPECT_EQ(byName(*listing).size(), static_cast<size_t>(kCount));
}

TEST(DirectoryReader, ListsInBoundedPiecesThatTogetherAreTheWholeFolder) {
  TempFolder dir;
  const size_t count = 2 * DirectoryReader::kPieceEntries + 300;
  for (size_t i = 0; i < count; ++i) testing::writeFile(dir / ("f" + std::to_string(i)), 10);
  testing::makeFolder(dir / "mounted");
  DirectoryReader reader({dir / "mounted"});
  const int fd = ::open(dir.path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_GE(fd, 0);

  std::map<std::string, DirEntry> entries;
  std::vector<size_t> pieceSizes;
  const auto error = reader.listInPieces(fd, dir.path(), [&](Listing piece) {
    pieceSizes.push_back(piece.size());
    for (const auto& entry : piece) entries.emplace(std::string(entry.name), entry);
  });
  ::close(fd);
  ASSERT_FALSE(error) << error->message();
  EXPECT_EQ(pieceSizes.size(), 3u);
  for (const size_t size : pieceSizes) EXPECT_LE(size, DirectoryReader::kPieceEntries);
  ASSERT_EQ(entries.size(), count + 1);  // each entry exactly once
  EXPECT_EQ(entries.at("f0").allocatedSize, testing::allocatedBytes(dir / "f0"));
  EXPECT_EQ(entries.at("mounted").device, -1);  // mount points are marked in any piece
}

TEST(DirectoryReader, PiecesOfAnEmptyOrUnlistableFolder) {
  TempFolder dir;
  testing::makeFolder(dir / "empty");
  DirectoryReader reader({});
  int pieces = 0;
  const auto countPieces = [&](Listing) { ++pieces; };

  const int empty = ::open((dir / "empty").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  EXPECT_FALSE(reader.listInPieces(empty, dir / "empty", countPieces));
  ::close(empty);
  EXPECT_EQ(pieces, 0);

  // A descriptor that only names the folder cannot be read from.
  const int pathOnly = ::open(dir.path().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  const auto error = reader.listInPieces(pathOnly, dir.path(), countPieces);
  ::close(pathOnly);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->path, dir.path());
  EXPECT_EQ(error->code, EBADF);
  EXPECT_EQ(pieces, 0);
}

}  // namespace
}  // namespace tallyfin
