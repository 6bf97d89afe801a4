// The disk line, report.json, disk_status and history.json against df, on a small
// ext4 file system that keeps 10% of its blocks for root: exactly the blocks a
// "total − available" figure would wrongly count as used.

#include <unistd.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sstream>

#include "kit/store/disk_info.h"
#include "kit/store/format.h"
#include "tests/cli/tallyfin_process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

TEST(DiskFigures, UsedFreeAndPercentAreDfsWithBlocksKeptForRoot) {
  DiskInfo info{"d", 1000, 250, 250, 700, true};  // 50 blocks kept back
  EXPECT_EQ(info.used(), 700);
  EXPECT_EQ(info.usable(), 950);
  EXPECT_EQ(percentUsed(info), 74);  // 73.7, rounded up as df does
  // The figures of a real disk: df says 41%, where total − available would say 77%.
  const DiskInfo disk{"sda1", 271 * 1'000'000'000LL, 60'800'000'000, 60'800'000'000, 41'900'000'000, true};
  EXPECT_EQ(percentUsed(disk), 41);
  EXPECT_EQ(diskHealth(disk), DiskHealth::healthy);
  // Free by the usable space: 200 of 1000 usable is getting full, 201 is not.
  EXPECT_EQ(diskHealth({"d", 1100, 200, 200, 800, true}), DiskHealth::gettingFull);
  EXPECT_EQ(diskHealth({"d", 1100, 201, 201, 799, true}), DiskHealth::healthy);
  EXPECT_EQ(diskHealth({"d", 1100, 100, 100, 900, true}), DiskHealth::critical);
  // An exact percentage is not rounded up, and a full disk is 100%.
  EXPECT_EQ(percentUsed({"d", 1000, 500, 500, 500, true}), 50);
  EXPECT_EQ(percentUsed({"d", 1000, 0, 0, 900, true}), 100);
  // A report without the file system's own count falls back to total − free.
  EXPECT_EQ((DiskInfo{"d", 1000, 333, 333, 0, true}).used(), 667);
  EXPECT_EQ(percentUsed({"d", 0, 0, 0, 0, true}), 0);
  EXPECT_EQ(diskHealth({"d", 0, 0, 0, 0, true}), std::nullopt);
}

struct DfLine {
  int64_t size = 0, used = 0, available = 0;
  int percent = 0;
};

// The last line of `df -B1 --output=size,used,avail,pcent`.
DfLine parseDf(const std::string& output) {
  std::istringstream lines(output);
  std::string line, last;
  while (std::getline(lines, line)) {
    if (!line.empty()) last = line;
  }
  DfLine df;
  std::string percent;
  std::istringstream(last) >> df.size >> df.used >> df.available >> percent;
  df.percent = std::stoi(percent);
  return df;
}

TEST(DiskFigures, MatchDfOnALoopMountedExt4) {
  if (::geteuid() != 0 || !testing::pathExists("/usr/sbin/mkfs.ext4") || !testing::pathExists("/usr/bin/unshare")) {
    GTEST_SKIP() << "needs root, mkfs.ext4 and unshare for a private loop mount";
  }
  testing::TempFolder temp;
  const std::string image = temp / "disk.img", mount = temp / "mnt", store = temp / "store";
  testing::makeFolder(mount);
  const auto made = testing::runShell("truncate -s 40M " + image + " && mkfs.ext4 -q -F -m 10 " + image, temp.path());
  ASSERT_EQ(made.exitCode, 0) << made.err;
  // In a mount namespace of its own, gone with the shell: nothing outlives the test.
  const std::string script = "set -e; mount -o loop " + image + " " + mount + "; mkdir " + mount + "/home; head -c " +
                             "6000000 /dev/zero > " + mount + "/home/data; sync; " TALLYFIN_BINARY " --store " +
                             store + " --root " + mount + "/home --json; echo @; " TALLYFIN_BINARY " --store " + store +
                             " --no-scan; echo @; df -B1 --output=size,used,avail,pcent " + mount;
  const auto run = testing::runShell("unshare -m sh -c '" + script + "'", temp.path());
  if (run.exitCode != 0 && run.err.find("mount") != std::string::npos) GTEST_SKIP() << "no loop mount here: " << run.err;
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const size_t first = run.out.find("\n@\n"), second = run.out.find("\n@\n", first + 1);
  ASSERT_NE(second, std::string::npos) << run.out;
  const auto summary = nlohmann::json::parse(run.out.substr(0, first));
  const std::string text = run.out.substr(first + 3, second - first - 3);
  const DfLine df = parseDf(run.out.substr(second + 3));
  ASSERT_GT(df.size, df.used + df.available);  // the blocks kept for root are there

  const auto& disk = summary["disk"];
  EXPECT_EQ(disk["total"], df.size);
  EXPECT_EQ(disk["used"], df.used);
  EXPECT_EQ(disk["free"], df.available);
  EXPECT_EQ(disk["percent_used"], df.percent);
  const std::string line = ": " + Format::bytes(df.used) + " used of " + Format::bytes(df.size) + " (" +
                           std::to_string(df.percent) + "%), " + Format::bytes(df.available) + " free";
  EXPECT_NE(text.find(line), std::string::npos) << text << "\nexpected " << line;

  const auto history = nlohmann::json::parse(testing::readText(store + "/history.json"));
  EXPECT_EQ(history.back()["used"], df.used);
  EXPECT_EQ(history.back()["free"], df.available);
  const auto report = nlohmann::json::parse(testing::readText(store + "/report.json"));
  EXPECT_EQ(report["disk"]["dataVolumeUsed"], df.used);
  EXPECT_EQ(report["disk"]["total"], df.size);
}

}  // namespace
}  // namespace tallyfin
