#include "kit/map/recommendations.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "kit/base/clock.h"
#include "kit/pipeline/scan_pipeline.h"
#include "kit/store/format.h"
#include "tests/support/file_content.h"
#include "tests/support/temp_folder.h"
#include "tests/trash/trash_fixture.h"

namespace tallyfin {
namespace {

using testing::allocateFile;
using testing::MiB;
using testing::TempFolder;
using testing::writeFile;

constexpr int64_t kDay = 86'400;

const std::string kDash = " \u2014 ";

// A home with four npm projects (three untouched for months), a virtualenv, a pip
// cache, two videos (one not opened for months), a folder of archives and an image
// in the Trash.
class RecommendationsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int i = 1; i <= 4; ++i) {
      const std::string project = home / ("code/app" + std::to_string(i));
      writeFile(project + "/package.json", 10);
      allocateFile(project + "/node_modules/pkg/blob", MiB);
      testing::setModified(project, i < 4 ? now - 200 * kDay : now - kDay);
    }
    writeFile(home / "code/py/.venv/pyvenv.cfg", 10);
    allocateFile(home / "code/py/.venv/lib/blob", MiB + MiB / 4);
    allocateFile(home / ".cache/pip/http/blob", 2 * MiB);
    allocateFile(home / "Videos/old.mkv", 3 * MiB);
    allocateFile(home / "Videos/new.mkv", 3 * MiB);
    testing::setAccessed(home / "Videos/old.mkv", now - 400 * kDay);
    testing::setAccessed(home / "Videos/new.mkv", now - 2 * kDay);
    for (int i = 0; i < 4; ++i)
      allocateFile(home / ("Documents/archive/part" + std::to_string(i)), MiB);
    allocateFile(home.trashFiles() + "/old.iso", 3 * MiB);

    ScanConfiguration configuration(home.path(), home.path());
    configuration.minNodeSize = 524'288;
    configuration.largeFileThreshold = 2 * MiB;
    const ScanPipeline pipeline{
        Store(data / "store"), configuration, NotificationSettings{}, {}, ScanTrigger::manual};
    auto result = pipeline.run(CancelToken(), static_cast<double>(now));
    ASSERT_TRUE(result.ok()) << result.error().message;
    report = std::move(result->report);
  }

  RecommendationOptions small() const {
    RecommendationOptions options;
    options.minimum = 1'000'000;
    options.minimumGrowth = 1'000'000;
    return options;
  }

  int64_t itemBytes(std::string_view pathPart) const {
    int64_t sum = 0;
    for (const auto& item : report.items) {
      if (item.path.find(pathPart) != std::string::npos) sum += item.size;
    }
    return sum;
  }

  const Recommendation* find(const std::vector<Recommendation>& all, Recommendation::Kind kind,
                             std::string_view start = {}) const {
    for (const auto& r : all) {
      if (r.kind == kind && r.text.rfind(start, 0) == 0) return &r;
    }
    return nullptr;
  }

  const int64_t now = static_cast<int64_t>(secondsSinceEpoch());
  testing::TempHome home;
  TempFolder data;
  ScanReport report;
};

TEST_F(RecommendationsTest, SumUpTheReportInWordsLinkedToItsItems) {
  const auto all = Analysis::recommendations(report, {}, {}, small());

  const auto* modules = find(all, Recommendation::Kind::projectJunk, "node_modules");
  ASSERT_NE(modules, nullptr);
  EXPECT_EQ(modules->text, "node_modules in 4 projects hold " +
                               Format::bytes(itemBytes("/node_modules")) +
                               "; 3 of them untouched for 90 days" + kDash + "Safe to remove");
  EXPECT_EQ(modules->items.size(), 4u);
  EXPECT_EQ(modules->mapPath, home / "code");
  EXPECT_EQ(modules->safety, Safety::safe);

  const auto* venv = find(all, Recommendation::Kind::projectJunk, "Virtual environment");
  ASSERT_NE(venv, nullptr);
  EXPECT_EQ(venv->text, "Virtual environment \u00B7 py holds " + Format::bytes(itemBytes(".venv")) +
                            kDash + "Review before removing");
  EXPECT_EQ(venv->mapPath, home / "code/py/.venv");

  const auto* pip = find(all, Recommendation::Kind::cleanupGroup);
  ASSERT_NE(pip, nullptr);
  EXPECT_EQ(pip->text,
            "pip cache holds " + Format::bytes(itemBytes(".cache/pip")) + kDash + "Safe to remove");
  EXPECT_EQ(pip->items, std::vector<std::string>{home / ".cache/pip"});

  const auto* videos = find(all, Recommendation::Kind::largeFiles);
  ASSERT_NE(videos, nullptr);
  EXPECT_EQ(videos->text, "Videos: 2 large files hold " + Format::bytes(videos->size) +
                              "; 1 of them not opened for 90 days" + kDash +
                              "look through them on the map");
  EXPECT_EQ(videos->mapPath, home / "Videos");
  EXPECT_TRUE(videos->items.empty());

  // The archives are a big folder no rule knows; the videos' folder is left to the
  // large-file sentence above.
  const auto* archive = find(all, Recommendation::Kind::bigFolder);
  ASSERT_NE(archive, nullptr);
  EXPECT_EQ(archive->mapPath, home / "Documents/archive");
  EXPECT_EQ(archive->text, "~/Documents/archive holds " + Format::bytes(archive->size) +
                               " and none of it is a cleanup suggestion" + kDash +
                               "look through it on the map");

  // What is in the Trash is only mentioned as the Trash, never as a large file.
  const auto* trash = find(all, Recommendation::Kind::trash);
  ASSERT_NE(trash, nullptr);
  EXPECT_EQ(trash->mapPath, platform::trashFolder(home.path()));
  EXPECT_EQ(trash->text,
            "The Trash holds " + Format::bytes(trash->size) + "; emptying it gives the space back");
  EXPECT_GE(trash->size, 3 * MiB);

  EXPECT_EQ(all.size(), 6u);
  for (size_t i = 1; i < all.size(); ++i) EXPECT_GE(all[i - 1].size, all[i].size);
}

TEST_F(RecommendationsTest, KeptAndRemovedItemsAreLeftOut) {
  HiddenPaths hidden;
  hidden.kept.insert(home / ".cache/pip");
  hidden.kept.insert(home / "code/app1/node_modules");
  hidden.removed.insert(home / "Videos/old.mkv");
  const auto all = Analysis::recommendations(report, hidden, {}, small());
  EXPECT_EQ(find(all, Recommendation::Kind::cleanupGroup), nullptr);
  const auto* modules = find(all, Recommendation::Kind::projectJunk, "node_modules");
  ASSERT_NE(modules, nullptr);
  EXPECT_NE(modules->text.find("in 3 projects"), std::string::npos);
  EXPECT_NE(modules->text.find("; 2 of them untouched"), std::string::npos);
  const auto* video = find(all, Recommendation::Kind::largeFiles);
  ASSERT_NE(video, nullptr);
  EXPECT_EQ(video->paths, std::vector<std::string>{home / "Videos/new.mkv"});
  EXPECT_EQ(video->text.rfind("~/Videos/new.mkv holds ", 0), 0u);
}

TEST_F(RecommendationsTest, NothingWorthSayingGivesNothing) {
  RecommendationOptions options;  // a gigabyte at least: this home holds a few megabytes
  EXPECT_TRUE(Analysis::recommendations(report, {}, {}, options).empty());
  options = small();
  options.limit = 2;
  EXPECT_EQ(Analysis::recommendations(report, {}, {}, options).size(), 2u);
}

TEST_F(RecommendationsTest, AGrowingFolderSaysHowFastAndWhatInItIsSafe) {
  FolderTrend trend;
  trend.path = home / ".cache";
  trend.series = {{static_cast<double>(now - 14 * kDay), 1'000'000},
                  {static_cast<double>(now), 6'000'000}};
  trend.delta = 5'000'000;
  trend.perWeek = 2'500'000;
  FolderTrend slow = trend;
  slow.path = home / "Documents";
  slow.delta = 999'999;
  const auto all = Analysis::recommendations(report, {}, {trend, slow}, small());
  const auto* grew = find(all, Recommendation::Kind::growingFolder);
  ASSERT_NE(grew, nullptr);
  EXPECT_EQ(grew->text, "~/.cache grew 5.00 MB in 14 days, about 2.50 MB a week; it holds " +
                            Format::bytes(itemBytes(".cache/pip")) + " of Safe cleanup items");
  EXPECT_EQ(grew->items, std::vector<std::string>{home / ".cache/pip"});
  EXPECT_EQ(grew->mapPath, home / ".cache");
  size_t growing = 0;
  for (const auto& r : all) growing += r.kind == Recommendation::Kind::growingFolder;
  EXPECT_EQ(growing, 1u);  // the slow one grew less than the minimum
}

TEST(Recommendations, TiesAreOrderedByKindThenText) {
  ScanReport report;
  report.home = "/home/ann";
  report.date = 1'800'000'000;
  report.tree.name = "/";
  const auto item = [](std::string path, std::string title, CleanupCategory category) {
    CleanupItem i;
    i.path = std::move(path);
    i.title = std::move(title);
    i.category = category;
    i.safety = Safety::safe;
    i.size = 2'000'000'000;
    return i;
  };
  report.items = {
      item("/home/ann/.cache/b", "B cache", CleanupCategory::packageCaches),
      item("/home/ann/.cache/a", "A cache", CleanupCategory::appCaches),
      item("/home/ann/p/node_modules", "node_modules \u00B7 p", CleanupCategory::javascript)};
  report.items[2].project = "/home/ann/p";
  const auto all = Analysis::recommendations(report, {}, {});
  ASSERT_EQ(all.size(), 3u);
  EXPECT_EQ(all[0].kind, Recommendation::Kind::projectJunk);
  EXPECT_EQ(all[1].text.rfind("A cache holds 2.00 GB", 0), 0u);
  EXPECT_EQ(all[2].text.rfind("B cache holds 2.00 GB", 0), 0u);
  const nlohmann::json json = all[0];
  EXPECT_EQ(json.at("kind"), "projectJunk");
  EXPECT_EQ(json.at("safety"), "safe");
  EXPECT_EQ(json.at("mapPath"), "/home/ann/p/node_modules");
}

}  // namespace
}  // namespace tallyfin
