#include "kit/tools/system_data.h"

#include <gtest/gtest.h>

#include <fstream>

#include "kit/agents/system_data_json.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

DiskNode folder(std::string name, int64_t size, std::vector<DiskNode> children = {}) {
  DiskNode node;
  node.name = std::move(name);
  node.size = size;
  node.children = std::move(children);
  return node;
}

const SystemDataPart* find(const std::vector<SystemDataPart>& parts, std::string_view title) {
  for (const auto& part : parts) {
    if (part.title == title) return &part;
  }
  return nullptr;
}

TEST(SystemData, MacPartsComeFromTheSavedTree) {
  ScanReport report;
  report.disk.total = 500;
  report.disk.free = 100;
  report.disk.availableForImportant = 160;  // 60 purgeable
  report.tree = folder("/", 1'000, {
      folder("Users", 600, {folder("ann", 600, {folder("Library", 500, {
          folder("Caches", 70), folder("Logs", 5),
          folder("Application Support", 200, {folder("MobileSync", 40, {folder("Backup", 40)})}),
          folder("Containers", 100, {folder("com.docker.docker", 90)})})})}),
      folder("private", 50, {folder("var", 50, {folder("folders", 30), folder("log", 20)})}),
      folder("Library", 80, {folder("Developer", 80, {folder("CoreSimulator", 80)})})});

  const auto parts = SystemDataScanner::parts(report, "/Users/ann", 3, 4'096);
  EXPECT_EQ(find(parts, "Caches and temporary files")->size, 100);
  EXPECT_EQ(find(parts, "Logs and diagnostics")->size, 25);
  EXPECT_EQ(find(parts, "App data in your Library")->size, 300);  // Group Containers is not there
  EXPECT_EQ(find(parts, "iPhone and iPad backups")->size, 40);
  EXPECT_EQ(find(parts, "Virtual machine disks")->size, 90);
  EXPECT_EQ(find(parts, "Simulator runtimes")->size, 80);
  EXPECT_EQ(find(parts, "Downloaded system assets")->size, 0);
  EXPECT_EQ(find(parts, "Virtual memory (swap)")->size, 4'096);
  EXPECT_EQ(find(parts, "Virtual memory (swap)")->action.text, "Restart the Mac to reset it");
  const auto* snapshots = find(parts, "Local Time Machine snapshots");
  ASSERT_NE(snapshots, nullptr);
  EXPECT_EQ(snapshots->count, 3);
  EXPECT_EQ(snapshots->action.text, "tmutil thinlocalsnapshots / 999999999999 4");
  EXPECT_EQ(find(parts, "Purgeable space")->size, report.disk.purgeable());

  EXPECT_EQ(find(SystemDataScanner::parts(report, "/Users/ann", 0, std::nullopt),
                 "Local Time Machine snapshots"), nullptr);
  EXPECT_NE(find(SystemDataScanner::parts(report, "/Users/ann", std::nullopt, std::nullopt),
                 "Local Time Machine snapshots"), nullptr);

  const auto json = AgentJson::systemData(parts);
  const auto& first = json["parts"][2];
  EXPECT_EQ(first["title"], "Local Time Machine snapshots");
  EXPECT_EQ(first["note"], "3 snapshots — size is part of Purgeable");
  EXPECT_EQ(first["command"], "tmutil thinlocalsnapshots / 999999999999 4");
  EXPECT_EQ(json["parts"][0]["size"], nullptr);
}

TEST(SystemData, LinuxPartsWithCommandsToCopy) {
  ScanReport report;
  report.tree = folder("/", 1'000, {
      folder("var", 300, {folder("cache", 120, {folder("apt", 120)}), folder("lib", 150, {folder("docker", 150)}),
                          folder("tmp", 5)}),
      folder("tmp", 10), folder("usr", 400)});
  const auto parts = SystemDataScanner::linuxParts(report, 2'000);
  EXPECT_EQ(find(parts, "Package caches")->size, 120);
  EXPECT_EQ(find(parts, "Package caches")->action.text, "sudo apt-get clean");
  EXPECT_EQ(find(parts, "Docker data")->action.text, "docker system prune");
  EXPECT_EQ(find(parts, "System journal and logs")->action.text, "sudo journalctl --vacuum-size=500M");
  EXPECT_EQ(find(parts, "Temporary files")->size, 15);
  EXPECT_EQ(find(parts, "The system itself")->size, 400);
  EXPECT_EQ(find(parts, "The system itself")->action.kind, SystemDataPart::ActionKind::none);
  EXPECT_EQ(find(parts, "Virtual memory (swap)")->size, 2'000);
  EXPECT_EQ(find(parts, "Crash dumps")->size, 0);
}

TEST(SystemData, SnapshotsAreCountedAndAHungTmutilIsGivenUp) {
  EXPECT_EQ(SystemDataScanner::countSnapshots("Snapshots for disk /:\n"
                                              "com.apple.TimeMachine.2024-05-01-101010.local\n"
                                              "com.apple.TimeMachine.2024-05-01-111010.local\n"
                                              "com.apple.os.update-ABC\n"),
            2);
  testing::TempFolder dir;
  const std::string tmutil = dir / "tmutil";
  std::ofstream(tmutil) << "#!/bin/sh\nsleep 1000\n";
  testing::setMode(tmutil, 0755);
  EXPECT_FALSE(SystemDataScanner::localSnapshotCount(dir.path(), tmutil, 0.3).has_value());
  std::ofstream(tmutil) << "#!/bin/sh\necho com.apple.TimeMachine.x\n";
  EXPECT_EQ(SystemDataScanner::localSnapshotCount(dir.path(), tmutil, 5), 1);
  EXPECT_FALSE(SystemDataScanner::localSnapshotCount(dir.path(), dir / "missing", 5).has_value());
}

}  // namespace
}  // namespace tallyfin
