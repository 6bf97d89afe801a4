#include "kit/shell/preferences.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using Flag = Preferences::Flag;
using testing::TempFolder;

nlohmann::json stored(const Preferences& preferences) {
  std::ifstream in(preferences.file());
  return nlohmann::json::parse(in);
}

TEST(Preferences, AMissingOrBrokenFileReadsAsTheDefaults) {
  TempFolder folder;
  for (const std::string& text : {std::string(), std::string("{not json"), std::string("[1, 2]")}) {
    const Preferences preferences(folder / "Tallyfin/preferences.json");
    if (!text.empty()) testing::writeText(preferences.file(), text);
    EXPECT_EQ(preferences.schedule(), Schedule::off);
    EXPECT_EQ(preferences.appearance(), Appearance::system);
    EXPECT_TRUE(preferences.flag(Flag::menuBarShow));
    EXPECT_TRUE(preferences.flag(Flag::menuBarShowFree));
    EXPECT_FALSE(preferences.flag(Flag::menuBarHideDock));
    EXPECT_FALSE(preferences.flag(Flag::projectsStaleOnly));
    EXPECT_EQ(preferences.projectsStaleDays(), 90);
    EXPECT_EQ(preferences.notificationSettings(), NotificationSettings{});
    EXPECT_EQ(preferences.autopilot(), (AutopilotSettings{false, 30}));
    EXPECT_EQ(preferences.language(), Language::system);
    EXPECT_FALSE(preferences.migratedMossLedger());
  }
}

TEST(Preferences, ValuesOfTheWrongShapeReadAsTheirDefaults) {
  TempFolder folder;
  const Preferences preferences(folder / "preferences.json");
  testing::writeText(preferences.file(), R"({"schedule": "hourly", "appearance": 3, "menuBar.show": "yes",
    "projects.staleDays": -4, "notificationSettings": {"enabled": false},
    "autopilot": "on", "AppleLanguages": ["fr", "de"]})");
  EXPECT_EQ(preferences.schedule(), Schedule::off);
  EXPECT_EQ(preferences.appearance(), Appearance::system);
  EXPECT_TRUE(preferences.flag(Flag::menuBarShow));
  EXPECT_EQ(preferences.projectsStaleDays(), 90);
  EXPECT_EQ(preferences.notificationSettings(), NotificationSettings{});  // half a record
  EXPECT_FALSE(preferences.autopilot().enabled);
  EXPECT_EQ(preferences.language(), Language::system);  // only the first entry counts
}

TEST(Preferences, EachSetterWritesItsKeyAndKeepsTheOthers) {
  TempFolder folder;
  const Preferences preferences(folder / "new/Tallyfin/preferences.json");
  ASSERT_TRUE(preferences.setSchedule(Schedule::weekly).ok());
  ASSERT_TRUE(preferences.setAppearance(Appearance::dark).ok());
  ASSERT_TRUE(preferences.setFlag(Flag::menuBarShowFree, false).ok());
  ASSERT_TRUE(preferences.setProjectsStaleDays(180).ok());
  NotificationSettings quiet;
  quiet.enabled = false;
  quiet.cooldownDays = 2.5;
  ASSERT_TRUE(preferences.setNotificationSettings(quiet).ok());
  ASSERT_TRUE(preferences.setAutopilot({true, 60}).ok());

  const Preferences reread(preferences.file());
  EXPECT_EQ(reread.schedule(), Schedule::weekly);
  EXPECT_EQ(reread.appearance(), Appearance::dark);
  EXPECT_FALSE(reread.flag(Flag::menuBarShowFree));
  EXPECT_EQ(reread.projectsStaleDays(), 180);
  EXPECT_EQ(reread.notificationSettings(), quiet);
  EXPECT_EQ(reread.autopilot(), (AutopilotSettings{true, 60}));
  EXPECT_EQ(stored(reread)["schedule"], "weekly");
  EXPECT_EQ(stored(reread)["autopilot"], (nlohmann::json{{"enabled", true}, {"minAgeDays", 60}}));
  struct stat info;
  ASSERT_EQ(::stat(preferences.file().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
}

TEST(Preferences, TheDockHidesOnlyWhileTheMenuBarItemShows) {
  TempFolder folder;
  const Preferences preferences(folder / "preferences.json");
  ASSERT_TRUE(preferences.setFlag(Flag::menuBarHideDock, true).ok());
  EXPECT_TRUE(preferences.hidesDock());
  ASSERT_TRUE(preferences.setFlag(Flag::menuBarShow, false).ok());
  EXPECT_FALSE(preferences.hidesDock());
  EXPECT_TRUE(preferences.flag(Flag::menuBarHideDock));  // remembered for when it shows again
}

TEST(Preferences, ALanguageIsOneEntryAndSystemRemovesIt) {
  TempFolder folder;
  const Preferences preferences(folder / "preferences.json");
  ASSERT_TRUE(preferences.setLanguage(Language::zhHans).ok());
  EXPECT_EQ(stored(preferences)["AppleLanguages"], nlohmann::json::array({"zh-Hans"}));
  EXPECT_EQ(preferences.language(), Language::zhHans);
  ASSERT_TRUE(preferences.setLanguage(Language::system).ok());
  EXPECT_FALSE(stored(preferences).contains("AppleLanguages"));
  EXPECT_EQ(preferences.language(), Language::system);
  EXPECT_EQ(displayName(Language::de), "Deutsch");
  EXPECT_EQ(displayName(Language::en), "English");
}

TEST(Preferences, WritersInSeveralProcessesLoseNoKey) {
  TempFolder folder;
  const std::string file = folder / "preferences.json";
  ASSERT_TRUE(testing::runInParallelProcesses(8, [&](int i) {
    const Preferences mine(file);
    for (int round = 0; round < 10; ++round) {
      if (!mine.setProjectsStaleDays(1).ok()) return 1;
      if (!mine.setFlag(i % 2 ? Flag::menuBarShow : Flag::menuBarShowFree, false).ok()) return 1;
    }
    return 0;
  }));
  const Preferences preferences(file);
  EXPECT_FALSE(preferences.flag(Flag::menuBarShow));
  EXPECT_FALSE(preferences.flag(Flag::menuBarShowFree));
  EXPECT_EQ(preferences.projectsStaleDays(), 1);
}

TEST(PreferencesMigration, CopiesTheFormerProductsKeysOnce) {
  TempFolder folder;
  const std::string legacy = folder / "MossLedger/preferences.json";
  testing::writeText(legacy, R"({"schedule": "daily", "autopilot": {"enabled": true, "minAgeDays": 14},
    "menuBar.hideDock": true, "cleanup.sort": "size", "whatsNew.seen": "2.1",
    "somethingElse": 1, "AppleLanguages": ["de"]})");
  const Preferences preferences(folder / "Tallyfin/preferences.json");
  ASSERT_TRUE(preferences.setAppearance(Appearance::light).ok());
  ASSERT_TRUE(preferences.migrateLegacyDefaults(legacy).ok());
  EXPECT_TRUE(preferences.migratedMossLedger());
  EXPECT_EQ(preferences.schedule(), Schedule::daily);
  EXPECT_EQ(preferences.autopilot(), (AutopilotSettings{true, 14}));
  EXPECT_TRUE(preferences.flag(Flag::menuBarHideDock));
  EXPECT_EQ(preferences.appearance(), Appearance::light);  // not in the old file: left alone
  const auto json = stored(preferences);
  EXPECT_EQ(json["cleanup.sort"], "size");  // view state carried over as it is
  EXPECT_EQ(json["whatsNew.seen"], "2.1");
  EXPECT_FALSE(json.contains("somethingElse"));
  EXPECT_FALSE(json.contains("AppleLanguages"));

  // A second start copies nothing, even after the old file changed.
  testing::writeText(legacy, R"({"schedule": "weekly", "cleanup.sort": "name"})");
  ASSERT_TRUE(preferences.migrateLegacyDefaults(legacy).ok());
  EXPECT_EQ(preferences.schedule(), Schedule::daily);
  EXPECT_EQ(stored(preferences)["cleanup.sort"], "size");
}

TEST(PreferencesMigration, WithoutAFormerProductItOnlyMarksItselfDone) {
  TempFolder folder;
  const Preferences preferences(folder / "Tallyfin/preferences.json");
  ASSERT_TRUE(preferences.migrateLegacyDefaults(folder / "MossLedger/preferences.json").ok());
  EXPECT_EQ(stored(preferences), (nlohmann::json{{"migrated.mossLedger", true}}));
}

TEST(ScheduleNames, CasesLabelsAndAgentNames) {
  EXPECT_EQ(scheduleNamed("weekly"), Schedule::weekly);
  EXPECT_EQ(scheduleNamed("Weekly"), std::nullopt);
  EXPECT_EQ(label(Schedule::daily), "Every day at 10:00");
  EXPECT_EQ(label(Schedule::weekly), "Every Monday at 10:00");
  EXPECT_EQ(plistName(Schedule::weekly), "com.morvek.Tallyfin.weekly.plist");
  EXPECT_EQ(agentLabel(Schedule::daily), "com.morvek.Tallyfin.daily");
  EXPECT_EQ(agentLabel(Schedule::off), std::nullopt);
}

}  // namespace
}  // namespace tallyfin
