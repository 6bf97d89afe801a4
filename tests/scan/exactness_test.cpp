// The scanner's totals against an independent count by find(1) on a large,
// realistic tree with awkward entries mixed in.

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <set>
#include <sstream>
#include <utility>

#include "kit/scan/scanner.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::TempFolder;

std::string run(const std::string& command) {
  std::string output;
  FILE* pipe = ::popen(command.c_str(), "r");
  if (!pipe) throw std::runtime_error("cannot run " + command);
  char buffer[65536];
  size_t count;
  while ((count = std::fread(buffer, 1, sizeof buffer, pipe)) > 0) output.append(buffer, count);
  if (::pclose(pipe) != 0) throw std::runtime_error("failed: " + command);
  return output;
}

struct Reference {
  int64_t bytes = 0;
  int64_t files = 0;
};

// find lists every non-directory with its device, inode and 512-byte blocks,
// staying on the file system; each (device, inode) counts once.
Reference countWithFind(const std::string& root) {
  std::istringstream lines(run("find '" + root + "' -xdev ! -type d -printf '%D %i %b\\n'"));
  std::set<std::pair<uint64_t, uint64_t>> seen;
  Reference reference;
  uint64_t device, inode;
  int64_t blocks;
  while (lines >> device >> inode >> blocks) {
    if (!seen.emplace(device, inode).second) continue;
    reference.bytes += blocks * 512;
    reference.files += 1;
  }
  return reference;
}

void addAwkwardEntries(const TempFolder& dir) {
  const std::string odd = dir / "tree/odd";
  testing::writeFile(odd + "/line\nbreak.txt", 300);
  testing::writeFile(odd + "/bad\xFF\xFEname/inside.bin", 5000);
  testing::writeFile(odd + "/new\nline folder/x", 10);
  testing::sparseFile(odd + "/disk.img", 1LL << 30);
  testing::allocateFile(odd + "/prealloc.bin", 50 << 20);
  ASSERT_EQ(::mkfifo((odd + "/fifo").c_str(), 0644), 0);
  testing::allocateFile(odd + "/links/original", 3 << 20);
  testing::hardLink(odd + "/links/original", odd + "/elsewhere/deep/copy");
  testing::hardLink(odd + "/links/original", dir / "tree/another-copy");
  testing::symbolicLink("loop-b", odd + "/loop-a");
  testing::symbolicLink("loop-a", odd + "/loop-b");
  testing::symbolicLink("..", odd + "/up");
  for (int i = 0; i < 40'000; ++i) testing::writeFile(odd + "/wide/f" + std::to_string(i));
}

TEST(Exactness, MatchesAnIndependentCountOnARealisticTree) {
  const std::string makeTree = TALLYFIN_MAKE_TREE;
  ASSERT_TRUE(std::filesystem::exists(makeTree)) << makeTree << " is needed to build the fixture";
  TempFolder dir;
  run("python3 '" + makeTree + "' '" + dir / "tree" + "' --files 200000 --no-special --quiet");
  addAwkwardEntries(dir);

  const Reference reference = countWithFind(dir / "tree");
  CancelToken cancel;
  const auto scan = Scanner(ScanConfiguration(dir / "tree", dir / "tree")).run(cancel);
  ASSERT_TRUE(scan.ok()) << scan.error().message();
  const DiskNode* root = scan->tree.node(dir / "tree");
  ASSERT_NE(root, nullptr);
  EXPECT_EQ(root->size, reference.bytes);
  EXPECT_EQ(root->files, reference.files);
  EXPECT_EQ(scan->deniedCount, 0);
  EXPECT_GT(scan->hardlinkBytesDeduped, 0);
}

}  // namespace
}  // namespace tallyfin
