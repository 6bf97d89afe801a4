#include <gtest/gtest.h>

#include <filesystem>
#include <iterator>

#include "kit/history/changes.h"
#include "kit/history/history_files.h"
#include "kit/history/trends.h"
#include "tests/support/temp_folder.h"
#include "tests/support/tree_builder.h"

namespace tallyfin {
namespace {

constexpr double kDay = 86'400;

HistoryEntry entry(double day, int64_t used, int64_t free) {
  HistoryEntry e;
  e.date = day * kDay;
  e.used = used;
  e.free = free;
  return e;
}

TEST(Trends, SlopeNeedsTwoPointsAndTwoDays) {
  EXPECT_FALSE(Trends::slopePerDay({{0, 10}}).has_value());
  EXPECT_FALSE(Trends::slopePerDay({{0, 10}, {kDay * 1.9, 20}}).has_value());
  EXPECT_DOUBLE_EQ(*Trends::slopePerDay({{0, 10}, {kDay, 20}, {2 * kDay, 30}}), 10.0);
  EXPECT_FALSE(Trends::slopePerDay({{0, 10}, {0, 20}}, 0).has_value());
}

TEST(Trends, ForecastOnlyWhileFillingWithinTenYears) {
  const double now = 10 * kDay;
  EXPECT_FALSE(Trends::fullDate(now, {entry(0, 100, 1000)}).has_value());
  const auto filling = Trends::fullDate(now, {entry(0, 100, 1000), entry(2, 300, 800)});
  ASSERT_TRUE(filling.has_value());
  EXPECT_DOUBLE_EQ(*filling, now + 8 * kDay);  // 800 bytes free at 100 a day
  EXPECT_FALSE(Trends::fullDate(now, {entry(0, 300, 800), entry(2, 100, 1000)}).has_value());
  EXPECT_FALSE(Trends::fullDate(now, {entry(0, 100, 1000), entry(2, 100, 1000)}).has_value());
  EXPECT_FALSE(
      Trends::fullDate(now, {entry(0, 100, 4'000'000), entry(2, 300, 4'000'000)}).has_value());
}

TEST(Trends, GrowingFoldersAreDeNested) {
  const auto sample = [](double day, int64_t parent, int64_t child, int64_t other) {
    return FolderSample{day * kDay, {{"/p", parent}, {"/p/c", child}, {"/o", other}}};
  };
  // /p grew 100, 75 of it in /p/c: exactly three quarters is enough to drop /p.
  const auto trends = Trends::growingFolders(
      {sample(0, 1000, 500, 10), sample(1, 1050, 540, 10), sample(2, 1100, 575, 500)}, 3, 50, 10);
  ASSERT_EQ(trends.size(), 2u);
  EXPECT_EQ(trends[0].path, "/o");
  EXPECT_EQ(trends[1].path, "/p/c");
  EXPECT_EQ(trends[1].delta, 75);
  EXPECT_EQ(trends[1].series.size(), 3u);

  const auto moreInParent = Trends::growingFolders(
      {sample(0, 1000, 500, 0), sample(2, 1100, 574, 0)}, 2, 50, 10);
  ASSERT_EQ(moreInParent.size(), 2u);
  EXPECT_EQ(moreInParent[0].path, "/p");
  EXPECT_EQ(Trends::growingFolders({sample(0, 1, 1, 1), sample(2, 900, 1, 1)}, 3, 1, 10).size(), 0u);
}

TEST(Changes, SnapshotChangesAndTopGrowth) {
  const auto before = testing::TreeBuilder()
                          .add("/home/ann/a/deep", 200)
                          .add("/home/ann/gone", 150)
                          .add("/home/ann/small", 40)
                          .build();
  const auto after = testing::TreeBuilder()
                         .add("/home/ann/a/deep", 500)
                         .add("/home/ann/new", 120)
                         .add("/home/ann/small", 40)
                         .build();
  const Snapshot old = Analysis::snapshot(before, 1.0, 1000, {}, 100, 8);
  const Snapshot now = Analysis::snapshot(after, 2.0, 1300, {"/x"}, 100, 8);
  EXPECT_FALSE(now.sizes.contains("/home/ann/small"));  // under the minimum
  EXPECT_EQ(now.sizes.at("/"), 660);

  const ChangeSummary summary = Analysis::changes(old, now);
  EXPECT_EQ(summary.since, 1.0);
  EXPECT_EQ(summary.usedDelta, 300);
  const auto top = Analysis::topGrowth(summary);
  ASSERT_TRUE(top.has_value());
  EXPECT_EQ(top->path, "/home/ann/a/deep");
  EXPECT_EQ(top->delta, 300);
  const auto statusOf = [&](const std::string& path) {
    for (const auto& change : summary.items) {
      if (change.path == path) return change.status;
    }
    throw std::runtime_error("no change for " + path);
  };
  EXPECT_EQ(statusOf("/home/ann/gone"), Change::Status::gone);
  EXPECT_EQ(statusOf("/home/ann/new"), Change::Status::isNew);

  const auto sample = Analysis::folderSample(2.0, now, 300, 2);
  EXPECT_EQ(sample.sizes.size(), 2u);
  EXPECT_TRUE(sample.sizes.contains("/"));
}

TEST(HistoryFiles, KeepTheLastTwoHundredEntriesAndFiftyTwoSamples) {
  testing::TempFolder dir;
  const Store store(dir / "data");
  for (int i = 0; i < 201; ++i) ASSERT_TRUE(HistoryFiles::appendHistory(store, entry(i, i, 0)).ok());
  const auto history = HistoryFiles::history(store);
  ASSERT_EQ(history.size(), 200u);
  EXPECT_EQ(history.front().used, 1);
  for (int i = 0; i < 53; ++i) {
    ASSERT_TRUE(HistoryFiles::appendFolderSample(store, {double(i), {{"/", i}}}).ok());
  }
  const auto samples = HistoryFiles::folderHistory(store);
  ASSERT_EQ(samples.size(), 52u);
  EXPECT_EQ(samples.front().date, 1.0);
}

TEST(HistoryFiles, StayTheSameSizeOnceFullHoweverManyScansFollow) {
  testing::TempFolder dir;
  const Store store(dir / "data");
  // Every scan as big as a record gets: a long top-growth path, and more big
  // folders than a sample keeps (the sample keeps the biggest, no more).
  Snapshot snapshot;
  for (size_t i = 0; i < 2 * Analysis::kFolderSampleLimit; ++i) {
    snapshot.sizes["/home/ann/" + std::to_string(1000 + i)] = 200'000'000'000 + int64_t(i);
  }
  ASSERT_EQ(Analysis::folderSample(0, snapshot).sizes.size(), Analysis::kFolderSampleLimit);
  // Reading and rewriting 52 full samples 500 times would only make the test slow.
  snapshot.sizes.erase(std::next(snapshot.sizes.begin(), 3), snapshot.sizes.end());
  const auto fileSize = [&](Store::File file) { return std::filesystem::file_size(store.url(file)); };
  std::uintmax_t historyWhenFull = 0, samplesWhenFull = 0;
  for (int scan = 1; scan <= 500; ++scan) {
    HistoryEntry record = entry(0, 400'000'000'000, 100'000'000'000);
    record.date = 1'790'000'000 + scan;  // same width every time: sizes compare exactly
    record.trigger = ScanTrigger::scheduled;
    record.topChangePath = "/home/ann/" + std::string(1000, 'x');
    record.topChangeDelta = 5'000'000'000;
    ASSERT_TRUE(HistoryFiles::appendHistory(store, record).ok());
    ASSERT_TRUE(HistoryFiles::appendFolderSample(store, Analysis::folderSample(record.date, snapshot)).ok());
    if (scan == static_cast<int>(HistoryFiles::kHistoryLimit)) {
      historyWhenFull = fileSize(Store::File::history);
      samplesWhenFull = fileSize(Store::File::folderHistory);
    }
  }
  EXPECT_EQ(fileSize(Store::File::history), historyWhenFull);
  EXPECT_EQ(fileSize(Store::File::folderHistory), samplesWhenFull);
  const auto samples = HistoryFiles::folderHistory(store);
  ASSERT_EQ(samples.size(), HistoryFiles::kFolderHistoryLimit);
  EXPECT_EQ(samples.back().sizes.size(), 3u);
  EXPECT_EQ(samples.back().date, 1'790'000'500);
  EXPECT_EQ(HistoryFiles::history(store).size(), HistoryFiles::kHistoryLimit);
}

TEST(HistoryRecords, EntriesWithoutNewerFieldsStillLoad) {
  const auto loaded = nlohmann::json::parse(
                          R"([{"date":1.5,"used":1,"free":2,"reclaimableSafe":3,"reclaimableReview":4}])")
                          .get<std::vector<HistoryEntry>>();
  ASSERT_EQ(loaded.size(), 1u);
  EXPECT_FALSE(loaded[0].trigger.has_value());
  HistoryEntry full = loaded[0];
  full.trigger = ScanTrigger::scheduled;
  full.topChangePath = "/x";
  full.topChangeDelta = 9;
  EXPECT_EQ(nlohmann::json(full).get<HistoryEntry>(), full);
  EXPECT_EQ(nlohmann::json(full)["trigger"], "scheduled");
}

}  // namespace
}  // namespace tallyfin
