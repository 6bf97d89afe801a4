#include "kit/report/scan_report.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "kit/store/disk_info.h"
#include "kit/store/format.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

ScanReport sampleReport() {
  ScanReport report;
  report.date = 1'790'000'000.25;
  report.duration = 3.5;
  report.home = "/home/ann";
  report.disk = {"vda", 1000, 300, 300, 700, true};
  report.scannedBytes = 600;
  report.fileCount = 12;
  report.tree.name = "/";
  report.tree.size = 600;
  report.tree.files = 12;
  DiskNode child;
  child.name = "home \"quoted\" \"tree\":null";
  child.size = 600;
  child.kind = DiskNode::Kind::bundle;
  report.tree.children.push_back(child);
  report.buckets = {{"home", "Other in home folder", 600}};
  report.hotspots = {{"/home/ann/x", 600, false}};
  CleanupItem item;
  item.path = "/home/ann/.cache/pip";
  item.title = "pip cache";
  item.category = CleanupCategory::python;
  item.safety = Safety::safe;
  item.size = 600;
  item.detail = "Downloaded Python wheels.";
  item.command = "pip3 cache purge";
  report.items = {item};
  report.largeFiles = {{"/home/ann/big.iso", 500, 1, 2}};
  report.types = {{FileKind::diskImages, 500, 1}};
  report.deniedCount = 2;
  report.taskCount = 9;
  return report;
}

TEST(ScanReport, RoundTripsWithAndWithoutChanges) {
  ScanReport report = sampleReport();
  auto decoded = decodeReport(encodeReport(report));
  ASSERT_TRUE(decoded.ok()) << decoded.error();
  EXPECT_EQ(*decoded, report);
  EXPECT_FALSE(decoded->changes.has_value());

  report.changes = ChangeSummary{1.5, 40, {{"/home/ann", 40, 10, 50, Change::Status::grew}}};
  decoded = decodeReport(encodeReport(report));
  ASSERT_TRUE(decoded.ok()) << decoded.error();
  EXPECT_EQ(*decoded, report);
}

TEST(ScanReport, MissingKeysAndUnknownNumbersDoNotLoad) {
  const auto json = nlohmann::json::parse(encodeReport(sampleReport()));
  for (const char* key : {"version", "date", "duration", "home", "disk", "scannedBytes",
                          "fileCount", "tree", "buckets", "hotspots", "items", "largeFiles",
                          "types", "deniedCount", "taskCount"}) {
    auto broken = json;
    broken.erase(key);
    EXPECT_FALSE(decodeReport(broken.dump()).ok()) << key;
  }
  auto badType = json;
  badType["types"][0]["kind"] = 13;
  EXPECT_FALSE(decodeReport(badType.dump()).ok());
  auto badKind = json;
  badKind["tree"]["children"][0]["kind"] = 9;
  EXPECT_FALSE(decodeReport(badKind.dump()).ok());
  EXPECT_FALSE(decodeReport("not json").ok());
}

TEST(Format, BytesInDecimalUnits) {
  EXPECT_EQ(Format::bytes(0), "0 B");
  EXPECT_EQ(Format::bytes(-5), "0 B");
  EXPECT_EQ(Format::bytes(512), "512 B");
  EXPECT_EQ(Format::bytes(999), "999 B");
  EXPECT_EQ(Format::bytes(1000), "1.00 KB");
  EXPECT_EQ(Format::bytes(1500), "1.50 KB");
  EXPECT_EQ(Format::bytes(999'499), "999 KB");
  EXPECT_EQ(Format::bytes(999'500), "1.00 MB");
  EXPECT_EQ(Format::bytes(999'600), "1.00 MB");
  EXPECT_EQ(Format::bytes(12'345'678), "12.3 MB");
  EXPECT_EQ(Format::bytes(250'000'000'000), "250 GB");
  EXPECT_EQ(Format::bytes(5'000'000'000'000'000), "5000 TB");
}

TEST(Format, ShortPathOnlyInsideHome) {
  EXPECT_EQ(Format::shortPath("/Users/ann/Movies", "/Users/ann"), "~/Movies");
  EXPECT_EQ(Format::shortPath("/Users/ann", "/Users/ann"), "~");
  EXPECT_EQ(Format::shortPath("/Users/anna/x", "/Users/ann"), "/Users/anna/x");
  EXPECT_EQ(Format::shortPath("/opt", "/Users/ann"), "/opt");
}

TEST(DiskHealth, ThresholdsAndPercent) {
  DiskInfo info{"d", 1000, 201, 201, 0, true};
  EXPECT_EQ(diskHealth(info), DiskHealth::healthy);
  info.free = 200;
  EXPECT_EQ(diskHealth(info), DiskHealth::gettingFull);
  info.free = 100;
  EXPECT_EQ(diskHealth(info), DiskHealth::critical);
  EXPECT_EQ(percentUsed(info), 90);
  info.free = 333;
  EXPECT_EQ(percentUsed(info), 67);  // 66.7, rounded up as df does
  info.total = 0;
  EXPECT_EQ(diskHealth(info), std::nullopt);
  EXPECT_EQ(healthText(DiskHealth::gettingFull), "getting-full");
  EXPECT_EQ(info.purgeable(), 0);
}

TEST(DiskInfo, ReadsThisMachinesVolume) {
  testing::TempFolder dir;
  const DiskInfo info = diskInfo(dir.path(), dir.path());
  EXPECT_GT(info.total, 0);
  EXPECT_GT(info.free, 0);
  EXPECT_LE(info.free, info.total);
  EXPECT_EQ(info.availableForImportant, info.free);
  EXPECT_FALSE(info.volumeName.empty());
  EXPECT_TRUE(info.fullDiskAccess);
}

}  // namespace
}  // namespace tallyfin
