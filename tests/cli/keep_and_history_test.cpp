// tallyfin keep and tallyfin history on a real data folder in a fake home.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <regex>

#include "kit/base/clock.h"
#include "kit/history/history_records.h"
#include "kit/store/format.h"
#include "kit/store/store.h"
#include "tests/cli/tallyfin_process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

constexpr int64_t GB = 1'000'000'000;
constexpr double kDay = 86'400;

class KeepAndHistory : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::allocateFile(home / ".npm/_cacache/content/blob", 12 << 20);
    testing::writeFile(home / "code/app/package.json", 20);
    testing::allocateFile(home / "code/app/node_modules/lib/index.js", 2 << 20);
  }

  testing::ProcessResult tallyfin(std::vector<std::string> arguments) const {
    return testing::runTallyfin(arguments, home.path());
  }
  std::string dataDir() const { return home / ".local/share/Tallyfin"; }
  Store store() const { return Store(dataDir()); }

  testing::TempFolder home;
};

TEST_F(KeepAndHistory, KeptSuggestionsLeaveTheSummaryUntilTakenOff) {
  ASSERT_EQ(tallyfin({"--root", home.path()}).exitCode, 0);
  const auto before = nlohmann::json::parse(tallyfin({"--no-scan", "--json"}).out);

  const auto kept = tallyfin({"keep", "~/.npm/_cacache/", home / "code/./app/node_modules"});
  ASSERT_EQ(kept.exitCode, 0) << kept.err;
  EXPECT_EQ(kept.out,
            "Keeping ~/.npm/_cacache \u2014 it is not suggested again.\n"
            "Keeping ~/code/app/node_modules \u2014 it is not suggested again.\n");
  EXPECT_EQ(nlohmann::json::parse(testing::readText(dataDir() + "/keep.json")),
            nlohmann::json({home / ".npm/_cacache", home / "code/app/node_modules"}));

  const auto after = nlohmann::json::parse(tallyfin({"--no-scan", "--json"}).out);
  EXPECT_EQ(after["suggestions"].size(), 0u) << after.dump();
  EXPECT_LT(after["safe_to_clean_bytes"].get<int64_t>(), before["safe_to_clean_bytes"].get<int64_t>());

  EXPECT_EQ(tallyfin({"keep"}).out, "~/.npm/_cacache\n~/code/app/node_modules\n");
  const auto removed = tallyfin({"--json", "keep", "--remove", "~/.npm/_cacache", "~/never-kept"});
  ASSERT_EQ(removed.exitCode, 0) << removed.err;
  EXPECT_EQ(nlohmann::json::parse(removed.out), (nlohmann::json{{"kept", {home / "code/app/node_modules"}}}));
  const auto again = nlohmann::json::parse(tallyfin({"--no-scan", "--json"}).out);
  ASSERT_EQ(again["suggestions"].size(), 1u);
  EXPECT_EQ(again["suggestions"][0]["path"], home / ".npm/_cacache");
}

TEST_F(KeepAndHistory, ADamagedKeepListIsNamedAndLeftAsItIs) {
  testing::writeText(dataDir() + "/keep.json", "[\"/x\",");
  const auto listed = tallyfin({"keep"});
  EXPECT_EQ(listed.exitCode, 1);
  EXPECT_EQ(listed.out, "");
  EXPECT_NE(listed.err.find("keep.json in " + dataDir() + " is damaged"), std::string::npos) << listed.err;
  EXPECT_EQ(tallyfin({"keep", "~/y"}).exitCode, 1);
  EXPECT_EQ(testing::readText(dataDir() + "/keep.json"), "[\"/x\",");
}

// Three scans two days apart, 2 GB more each time, 7 GB free at the end: 1 GB a
// day, so 7 GB a week and a full disk a week after the last scan.
TEST_F(KeepAndHistory, HistoryShowsTheScansTheGrowthAndTheForecast) {
  const double last = secondsSinceEpoch();
  std::vector<HistoryEntry> history;
  std::vector<FolderSample> samples;
  for (int i = 0; i < 3; ++i) {
    const double date = last - (2 - i) * 2 * kDay;
    history.push_back({date, (100 + 2 * i) * GB, (11 - 2 * i) * GB, 0, 0, ScanTrigger::manual, {}, {}});
    samples.push_back({date, {{home / "models", (5 + i) * GB}, {home / "models/llama", (5 + i) * GB}}});
  }
  ASSERT_TRUE(store().save(history, Store::File::history).ok());
  ASSERT_TRUE(store().save(samples, Store::File::folderHistory).ok());

  const auto json = tallyfin({"history", "--json"});
  ASSERT_EQ(json.exitCode, 0) << json.err;
  const auto result = nlohmann::json::parse(json.out);
  ASSERT_EQ(result["scans"].size(), 3u);
  EXPECT_EQ(result["scans"][2]["used"], 104 * GB);
  EXPECT_EQ(result["scans"][2]["free"], 7 * GB);
  EXPECT_EQ(result["growth_per_week_bytes"], 7 * GB);
  const auto full = Format::parseIsoDate(result["disk_full_estimate"].get<std::string>());
  ASSERT_TRUE(full.has_value());
  EXPECT_NEAR(static_cast<double>(*full), last + 7 * kDay, 2.0);
  // The parent grew only through its child, so only the child is named.
  ASSERT_EQ(result["growing_folders"].size(), 1u);
  EXPECT_EQ(result["growing_folders"][0]["path"], home / "models/llama");
  EXPECT_TRUE(result["changes_since_previous"].is_null());  // no saved scan yet

  const auto text = tallyfin({"history", "--top", "2"});
  ASSERT_EQ(text.exitCode, 0) << text.err;
  EXPECT_NE(text.out.find("3 scans, the last 2 shown"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("102 GB   9.00 GB   +2.00 GB"), std::string::npos) << text.out;
  EXPECT_EQ(text.out.find("100 GB"), std::string::npos) << text.out;  // the oldest is not shown
  EXPECT_EQ(text.out.find("\u2581"), std::string::npos);              // no sparkline into a pipe
  const std::string words = std::regex_replace(text.out, std::regex("\\s+"), " ");
  EXPECT_NE(words.find("Growing by 7.00 GB per week, on average; at this pace the disk is full around " +
                       Format::isoDate(static_cast<int64_t>(*full)).substr(0, 10) + "."),
            std::string::npos)
      << text.out;
  // 1 GB every two days.
  EXPECT_NE(text.out.find("+2.00 GB  ~/models/llama (3.50 GB per week)"), std::string::npos) << text.out;

  // On a terminal (script gives it one), a sparkline from the lowest to the highest used space.
  if (testing::pathExists("/usr/bin/script")) {
    const auto terminal = testing::runShell(
        std::string("script -qec '") + TALLYFIN_BINARY + " history' /dev/null", home.path());
    EXPECT_EQ(terminal.exitCode, 0) << terminal.err;
    EXPECT_NE(terminal.out.find("  Used space: \u2581\u2585\u2588"), std::string::npos) << terminal.out;
  }
}

TEST_F(KeepAndHistory, HistoryListsWhatChangedSinceThePreviousScan) {
  ASSERT_EQ(tallyfin({"--root", home.path()}).exitCode, 0);
  const auto one = tallyfin({"history"});
  ASSERT_EQ(one.exitCode, 0) << one.err;
  EXPECT_NE(one.out.find("Growth and forecast need scans spanning two days or more."), std::string::npos) << one.out;

  testing::allocateFile(home / "videos/new.mkv", 120 << 20);
  ASSERT_EQ(tallyfin({"--root", home.path()}).exitCode, 0);
  const auto result = nlohmann::json::parse(tallyfin({"history", "--json"}).out);
  ASSERT_EQ(result["scans"].size(), 2u);
  const auto& items = result["changes_since_previous"]["items"];
  const auto videos = std::find_if(items.begin(), items.end(), [&](const auto& item) { return item["path"] == home / "videos"; });
  ASSERT_NE(videos, items.end()) << result.dump();
  EXPECT_EQ((*videos)["status"], "new");
  EXPECT_EQ((*videos)["before"], 0);
  EXPECT_GE((*videos)["delta"].get<int64_t>(), 120 << 20);
  const auto text = tallyfin({"history"});
  EXPECT_NE(text.out.find("~/videos (new)"), std::string::npos) << text.out;
}

TEST_F(KeepAndHistory, NoHistoryExitsThreeWithNothingOnStandardOutput) {
  const auto result = tallyfin({"history", "--json"});
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "tallyfin: no scans recorded in " + dataDir() + "/history.json yet \u2014 run tallyfin to scan.\n");
}

}  // namespace
}  // namespace tallyfin
