#include "kit/scan/scanner.h"

#include <sys/mount.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <mutex>

#include "kit/scan/directory_reader.h"
#include "kit/scan/scan_planner.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::TempFolder;

constexpr int64_t MiB = 1'048'576;

ScanConfiguration configurationFor(const TempFolder& dir) {
  return ScanConfiguration(dir.path(), dir.path(), {});
}

RawScan scanOrFail(const ScanConfiguration& configuration, const ProgressCallback& progress = {}) {
  CancelToken cancel;
  auto scan = Scanner(configuration).run(cancel, progress);
  if (!scan) throw std::runtime_error(scan.error().message());
  return std::move(scan).value();
}

// The scanned root's node inside the anchored tree.
const DiskNode& rootNode(const RawScan& scan, const TempFolder& dir) {
  const DiskNode* node = scan.tree.node(dir.path());
  if (!node) throw std::runtime_error("scan root missing from the tree");
  return *node;
}

TEST(Planning, SlowFoldersAreSplitAndTasksStartSlowestFirst) {
  TempFolder dir;
  for (const char* folder : {"a/x", "a/y", "b", "c", "d"}) testing::writeFile(dir / (std::string(folder) + "/f"), 10);
  auto configuration = configurationFor(dir);
  configuration.workerCount = 1;  // one worker finishes tasks in the order it starts them
  configuration.previousTimings = {
      {dir / "a", 2.5}, {dir / "b", 1.9}, {dir / "c", 0.3}, {dir / "d", 0.04}};

  std::vector<std::string> finished;
  std::vector<int64_t> filesSeen;
  const RawScan scan = scanOrFail(configuration, [&](const ScanProgress& progress) {
    if (progress.phase != ScanProgress::Phase::scanning) return;
    finished.push_back(progress.current);
    filesSeen.push_back(progress.files);
  });

  EXPECT_EQ(scan.taskCount, 5);
  ASSERT_EQ(finished.size(), 5u);
  EXPECT_EQ(finished[0], dir / "b");
  EXPECT_EQ(finished[1], dir / "c");
  // Untimed tasks count as 0.05 s: after c, before d's 0.04 s.
  EXPECT_EQ(finished[4], dir / "d");
  EXPECT_TRUE(std::is_permutation(finished.begin() + 2, finished.begin() + 4,
                                  std::vector<std::string>{dir / "a/x", dir / "a/y"}.begin()));
  // Quick tasks leave no timing; the split folder keeps its old one so it stays split.
  EXPECT_EQ(scan.timings, (TimingMap{{dir / "a", 2.5}}));
  EXPECT_EQ(rootNode(scan, dir).files, 5);
  // The files listed so far only grow, up to every file once the last task is done.
  EXPECT_TRUE(std::is_sorted(filesSeen.begin(), filesSeen.end()));
  EXPECT_EQ(filesSeen.back(), 5);
}

TEST(Planning, SplitPointsBundlesAndZeroSplitSeconds) {
  TempFolder dir;
  testing::writeFile(dir / "Apps/Tool.app/Contents/bin", 10);
  testing::writeFile(dir / "Apps/Other/x", 10);
  auto configuration = configurationFor(dir);
  configuration.splitPoints = {dir / "Apps"};
  configuration.previousTimings = {{dir / "Apps/Tool.app", 9.0}};
  EXPECT_EQ(scanOrFail(configuration).taskCount, 2);  // a bundle is never split

  configuration.splitSeconds = 0;  // everything not a bundle is planned down to the leaves
  EXPECT_EQ(scanOrFail(configuration).taskCount, 1);
}

TEST(Planning, HowFineTheWalkIsCutStaysWithinTheLimitWhateverTheTimingsSay) {
  // Three levels of three folders, one file in each of the 27 at the bottom.
  TempFolder dir;
  for (const char* a : {"a", "b", "c"}) {
    for (const char* b : {"d", "e", "f"}) {
      for (const char* c : {"g", "h", "i"}) testing::writeFile(dir / (std::string(a) + "/" + b + "/" + c + "/f"), 10);
    }
  }
  auto configuration = configurationFor(dir);
  configuration.splitSeconds = 0;  // as if every folder had been slow last time
  for (const size_t limit : {size_t{1}, size_t{4}, size_t{12}}) {
    configuration.plannedFolderLimit = limit;
    const RawScan scan = scanOrFail(configuration);
    EXPECT_GE(scan.taskCount, 1) << limit;
    // The limit, plus the siblings still open on each of the three levels when it was reached.
    EXPECT_LE(scan.taskCount, static_cast<int>(limit) + 3 * 2) << limit;
    EXPECT_EQ(rootNode(scan, dir).files, 27) << limit;
    EXPECT_LE(scan.timings.size(), limit + 3 * 2) << limit;
  }
  configuration.plannedFolderLimit = 1'000;
  EXPECT_EQ(scanOrFail(configuration).taskCount, 0);  // all 39 folders listed by the planner
}

TEST(Planning, SlowestFirstKeepsPlanOrderAmongEqualTimings) {
  std::vector<WalkTask> tasks(4);
  for (size_t i = 0; i < tasks.size(); ++i) tasks[i].display = "/t" + std::to_string(i);
  const auto order = slowestFirst(tasks, {{"/t2", 0.06}, {"/t3", 0.01}});
  EXPECT_EQ(order, (std::vector<size_t>{2, 0, 1, 3}));
}

TEST(HardLinks, LaterPathLosesTheBytesEvenThroughAFoldedNode) {
  TempFolder dir;
  testing::allocateFile(dir / "big", 12 * MiB);
  testing::allocateFile(dir / "a/f", 8 * MiB);
  testing::hardLink(dir / "a/f", dir / "b/g");
  const int64_t big = testing::allocatedBytes(dir / "big");
  const int64_t linked = testing::allocatedBytes(dir / "a/f");

  const RawScan scan = scanOrFail(configurationFor(dir));
  const DiskNode& root = rootNode(scan, dir);
  EXPECT_EQ(scan.hardlinkBytesDeduped, linked);
  EXPECT_EQ(root.size, big + linked);
  EXPECT_EQ(root.files, 2);
  EXPECT_EQ(scan.tree.size, big + linked);  // the anchoring folders pay too
  ASSERT_EQ(root.children.size(), 2u);      // "a" and "b" are below 10 MiB: folded
  EXPECT_EQ(root.children[1].kind, DiskNode::Kind::smaller);
  EXPECT_EQ(root.children[1].size, linked);
  EXPECT_EQ(root.children[1].files, 1);
}

TEST(HardLinks, KeptFoldersShowWhichSideKeepsTheBytes) {
  TempFolder dir;
  testing::allocateFile(dir / "one/f", 2 * MiB);
  testing::hardLink(dir / "one/f", dir / "two/f");
  testing::hardLink(dir / "one/f", dir / "two/g");
  auto configuration = configurationFor(dir);
  configuration.minNodeSize = 1;
  const int64_t size = testing::allocatedBytes(dir / "one/f");

  const RawScan scan = scanOrFail(configuration);
  const DiskNode& root = rootNode(scan, dir);
  EXPECT_EQ(scan.hardlinkBytesDeduped, 2 * size);
  EXPECT_EQ(root.size, size);
  EXPECT_EQ(root.child("one")->size, size);
  EXPECT_EQ(root.child("two")->size, 0);
  EXPECT_EQ(root.child("two")->files, 0);
}

TEST(Scanner, CancellingDuringTheWalkGivesNoResult) {
  TempFolder dir;
  for (int i = 0; i < 40; ++i) testing::writeFile(dir / ("d" + std::to_string(i) + "/f"), 1);
  CancelToken cancel;
  auto configuration = configurationFor(dir);
  configuration.workerCount = 2;
  const auto scan = Scanner(configuration).run(cancel, [&](const ScanProgress& progress) {
    if (progress.phase == ScanProgress::Phase::scanning) cancel.cancel();
  });
  ASSERT_FALSE(scan.ok());
  EXPECT_EQ(scan.error().reason, ScanFailure::Reason::cancelled);
}

TEST(Scanner, UnreadableFoldersAreCountedWithAFiftyPathSample) {
  TempFolder dir;
  for (int i = 0; i < 60; ++i) testing::writeFile(dir / ("locked" + std::to_string(i) + "/f"), 1);
  testing::writeFile(dir / "open/f", 1);
  testing::openToEveryone(dir.path());
  for (int i = 0; i < 60; ++i) testing::setMode(dir / ("locked" + std::to_string(i)), 0);

  const int status = testing::runUnprivileged([&] {
    const RawScan scan = scanOrFail(configurationFor(dir));
    const DiskNode& root = rootNode(scan, dir);
    if (scan.deniedCount != 60) return 1;
    if (scan.deniedSample.size() != 50) return 2;
    if (root.files != 1) return 3;
    if (root.child("locked7") != nullptr) return 4;  // size 0: folded, yet counted
    return 0;
  });
  EXPECT_EQ(status, 0);
}

TEST(Scanner, ARootThatCannotBeListedOrIsMissingFails) {
  TempFolder dir;
  testing::makeFolder(dir / "root");
  testing::openToEveryone(dir.path());
  testing::setMode(dir / "root", 0);
  const int status = testing::runUnprivileged([&] {
    CancelToken cancel;
    const auto scan = Scanner(ScanConfiguration(dir / "root", dir.path(), {})).run(cancel);
    if (scan.ok()) return 1;
    if (scan.error().reason != ScanFailure::Reason::rootUnreadable) return 2;
    if (scan.error().readError.code != EACCES) return 3;
    return scan.error().message() == "Could not read the folder " + dir / "root" +
                                         ": Permission denied. Check its permissions, or skip it."
               ? 0
               : 4;
  });
  EXPECT_EQ(status, 0);

  CancelToken cancel;
  const auto missing = Scanner(ScanConfiguration(dir / "missing", dir.path(), {})).run(cancel);
  ASSERT_FALSE(missing.ok());
  EXPECT_EQ(missing.error().reason, ScanFailure::Reason::rootUnreadable);
  EXPECT_EQ(missing.error().readError.code, ENOENT);
}

TEST(Scanner, FoldersOfAnyDepthAreCounted) {
  TempFolder dir;
  // 300 levels with a file at the top and one at the bottom.
  std::string path = dir / "three-hundred";
  testing::writeFile(path + "/top", 1);
  for (int depth = 0; depth < 300; ++depth) path += "/d";
  testing::writeFile(path + "/bottom", 1);
  // 10,000 levels, a file on each: its paths are far longer than the system can name.
  testing::makeDeepChain(dir / "ten-thousand", 10'000);

  auto configuration = configurationFor(dir);
  configuration.workerCount = 4;
  configuration.minNodeSize = 1;  // every folder a node: the tree is as deep as the disk
  const RawScan scan = scanOrFail(configuration);
  EXPECT_EQ(scan.deniedCount, 0);
  EXPECT_TRUE(scan.deniedSample.empty());
  const DiskNode& root = rootNode(scan, dir);
  EXPECT_EQ(root.files, 10'002);
  ASSERT_NE(root.child("three-hundred"), nullptr);
  EXPECT_EQ(root.child("three-hundred")->files, 2);
  ASSERT_NE(root.child("ten-thousand"), nullptr);
  EXPECT_EQ(root.child("ten-thousand")->files, 10'000);

  // The kept tree stops at a depth every reader can walk: the saved form reads back.
  size_t depth = 0;
  for (const DiskNode* node = &scan.tree; !node->children.empty(); node = &node->children.front()) ++depth;
  EXPECT_LE(depth, DiskNode::kDeepestLevel);
  const auto decoded = decodeDiskNode(encodeJson(scan.tree));
  ASSERT_TRUE(decoded.ok()) << decoded.error();
  EXPECT_EQ(*decoded, scan.tree);
}

TEST(Scanner, NeverFollowsLinksNorCrossesMounts) {
  TempFolder dir;
  testing::allocateFile(dir / "data/blob", 4 * MiB);
  testing::symbolicLink("loop-b", dir / "loop-a");
  testing::symbolicLink("loop-a", dir / "loop-b");
  testing::symbolicLink("..", dir / "data/up");
  testing::symbolicLink(dir / "data", dir / "absolute");
  testing::allocateFile(dir / "listed-mount/blob", 4 * MiB);
  auto configuration = configurationFor(dir);
  configuration.mounts = {dir / "listed-mount"};

  const RawScan scan = scanOrFail(configuration);
  const DiskNode& root = rootNode(scan, dir);
  EXPECT_EQ(root.files, 5);  // the blob and four links
  int64_t expected = testing::allocatedBytes(dir / "data/blob");
  for (const char* link : {"loop-a", "loop-b", "data/up", "absolute"}) {
    expected += testing::allocatedBytes(dir / link);
  }
  EXPECT_EQ(root.size, expected);
}

TEST(Scanner, DoesNotDescendIntoAnotherFileSystem) {
  if (::geteuid() != 0) GTEST_SKIP() << "mounting a file system needs root";
  TempFolder dir;
  testing::makeFolder(dir / "mnt");
  if (::mount("tmpfs", (dir / "mnt").c_str(), "tmpfs", 0, "size=16m") != 0) {
    GTEST_SKIP() << "this sandbox does not allow mounts";
  }
  testing::allocateFile(dir / "mnt/blob", 4 * MiB);
  testing::writeFile(dir / "here", 1);
  ScanConfiguration configuration(dir.path(), dir.path(), {});  // no mount list: devices decide
  const RawScan scan = scanOrFail(configuration);
  ::umount((dir / "mnt").c_str());
  EXPECT_EQ(rootNode(scan, dir).files, 1);
}

TEST(Scanner, CollectsLargeFilesTypesBundlesAndProjectJunk) {
  TempFolder home;
  testing::allocateFile(home / "Movies/film.MOV", 100 * MiB);
  testing::allocateFile(home / "Apps/Tool.app/Contents/MacOS/tool", 11 * MiB);
  testing::writeFile(home / "code/app/package.json", 10);
  testing::allocateFile(home / "code/app/node_modules/lib/index.js", 2 * MiB);
  testing::writeFile(home / "code/py/.venv/pyvenv.cfg", 10);
  testing::writeFile(home / ".cache/pip/wheel.bin", 100);

  const RawScan scan = scanOrFail(configurationFor(home));
  ASSERT_EQ(scan.largeFiles.size(), 1u);
  EXPECT_EQ(scan.largeFiles[0].path, home / "Movies/film.MOV");
  EXPECT_EQ(scan.largeFiles[0].size, testing::allocatedBytes(home / "Movies/film.MOV"));

  const auto bytesOf = [&](FileKind kind) {
    for (const auto& total : scan.types) {
      if (total.kind == kind) return total.size;
    }
    return int64_t{0};
  };
  EXPECT_EQ(bytesOf(FileKind::video), testing::allocatedBytes(home / "Movies/film.MOV"));
  EXPECT_EQ(bytesOf(FileKind::apps),
            testing::allocatedBytes(home / "Apps/Tool.app/Contents/MacOS/tool"));
  EXPECT_EQ(bytesOf(FileKind::caches), testing::allocatedBytes(home / ".cache/pip/wheel.bin"));

  EXPECT_EQ(rootNode(scan, home).node("Apps/Tool.app")->kind, DiskNode::Kind::bundle);

  ASSERT_EQ(scan.projectJunk.size(), 2u);
  const ProjectJunk& modules = scan.projectJunk[0];
  EXPECT_EQ(modules.path, home / "code/app/node_modules");
  EXPECT_EQ(modules.kind, ProjectJunkKind::nodeModules);
  EXPECT_EQ(modules.size, testing::allocatedBytes(home / "code/app/node_modules/lib/index.js"));
  struct stat app;
  ASSERT_EQ(::stat((home / "code/app").c_str(), &app), 0);
  EXPECT_EQ(modules.projectModified, app.st_mtim.tv_sec);
  EXPECT_EQ(scan.projectJunk[1].kind, ProjectJunkKind::venv);
}

TEST(Scanner, ManyWorkersBuildTheSameTreeAsOne) {
  TempFolder dir;
  for (int a = 0; a < 12; ++a) {
    for (int b = 0; b < 12; ++b) {
      const std::string folder = dir / ("a" + std::to_string(a) + "/b" + std::to_string(b));
      testing::allocateFile(folder + "/data", (a * 12 + b + 1) * 256 * 1024);
      testing::writeFile(folder + "/note.txt", 10);
    }
  }
  auto configuration = configurationFor(dir);
  configuration.minNodeSize = 1;
  configuration.workerCount = 1;
  const RawScan serial = scanOrFail(configuration);
  configuration.workerCount = 8;
  for (int round = 0; round < 5; ++round) {
    const RawScan parallel = scanOrFail(configuration);
    ASSERT_EQ(parallel.tree, serial.tree);
  }
}

// Wider than one piece of a listing, so the scan meets it piece by piece.
class WideFolder : public ::testing::Test {
 protected:
  static constexpr int kFolders = 700;
  static constexpr int kFiles = 1'500;

  void SetUp() override {
    for (int i = 0; i < kFolders; ++i) {
      testing::writeFile(dir / ("wide/d" + std::to_string(i) + "/same"), 100);
    }
    for (int i = 0; i < kFiles; ++i) testing::writeFile(dir / ("wide/f" + std::to_string(i)), 10);
    testing::writeFile(dir / "wide/package.json", 10);
    testing::allocateFile(dir / "wide/node_modules/lib.js", 2 * MiB);
  }

  TempFolder dir;
};

TEST_F(WideFolder, EqualChildrenKeepTheOrderOfTheWholeListing) {
  auto configuration = configurationFor(dir);
  configuration.minNodeSize = 1;
  configuration.maxChildren = 4'000;
  const RawScan scan = scanOrFail(configuration);
  const DiskNode* wide = rootNode(scan, dir).child("wide");
  ASSERT_NE(wide, nullptr);
  EXPECT_EQ(wide->files, kFolders + kFiles + 2);

  DirectoryReader reader({});
  const auto listing = reader.list(dir / "wide");
  ASSERT_TRUE(listing.ok());
  std::vector<std::string> listed;
  for (const auto& entry : *listing) {
    if (entry.isDirectory && entry.name != "node_modules") listed.emplace_back(entry.name);
  }
  // node_modules is the largest child, the equal folders follow as the folder lists
  // them, and the small files make up the last, `smaller` node.
  ASSERT_EQ(wide->children.size(), static_cast<size_t>(kFolders + 2));
  EXPECT_EQ(wide->children.front().name, "node_modules");
  EXPECT_EQ(wide->children.back().kind, DiskNode::Kind::smaller);
  EXPECT_EQ(wide->children.back().files, kFiles + 1);
  std::vector<std::string> kept;
  for (size_t i = 1; i + 1 < wide->children.size(); ++i) kept.push_back(wide->children[i].name);
  EXPECT_EQ(kept, listed);
}

TEST_F(WideFolder, MarkersAnywhereInTheListingReachItsSubfolders) {
  // The file system decides where package.json falls: more projects, more chances
  // that it comes in a later piece than node_modules.
  const std::vector<std::string> projects = {"wide", "wide2", "wide3", "wide4"};
  for (size_t p = 1; p < projects.size(); ++p) {
    testing::writeFile(dir / (projects[p] + "/package.json"), 10);
    for (int i = 0; i < kFiles; ++i) {
      testing::writeFile(dir / (projects[p] + "/f" + std::to_string(i)), 10);
    }
    testing::writeFile(dir / (projects[p] + "/node_modules/lib.js"), 10);
  }
  const RawScan scan = scanOrFail(configurationFor(dir));
  ASSERT_EQ(scan.projectJunk.size(), projects.size());
  for (size_t p = 0; p < projects.size(); ++p) {
    EXPECT_EQ(scan.projectJunk[p].path, dir / (projects[p] + "/node_modules"));
    EXPECT_EQ(scan.projectJunk[p].kind, ProjectJunkKind::nodeModules);
  }
}

TEST(ScanProgress, FractionByPhase) {
  EXPECT_DOUBLE_EQ((ScanProgress{ScanProgress::Phase::planning, 0, 0, ""}).fraction(), 0.02);
  EXPECT_DOUBLE_EQ((ScanProgress{ScanProgress::Phase::scanning, 0, 0, ""}).fraction(), 0.03);
  EXPECT_DOUBLE_EQ((ScanProgress{ScanProgress::Phase::scanning, 5, 10, ""}).fraction(), 0.48);
  EXPECT_DOUBLE_EQ((ScanProgress{ScanProgress::Phase::analyzing, 0, 0, ""}).fraction(), 0.95);
  EXPECT_DOUBLE_EQ((ScanProgress{ScanProgress::Phase::done, 0, 0, ""}).fraction(), 1.0);
}

}  // namespace
}  // namespace tallyfin
