// The settings the app writes, read back by the command line as its own process
// and by the next start of the app; the timers in the temp home's own unit folder;
// what Autopilot would move; the release notes' unread mark; help topics.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <unistd.h>

#include <filesystem>

#include "app/model/app_model.h"
#include "app/model/help_library.h"
#include "app/tests/app_home.h"
#include "kit/base/clock.h"
#include "tests/support/file_content.h"
#include "tests/support/process.h"

namespace tallyfin::app {
namespace {

using testing::AppHome;
using testing::eventually;

// What `tallyfin ARGUMENTS --json` prints for this home, run as its own process.
nlohmann::json commandLine(const AppHome& home, std::vector<std::string> arguments) {
  arguments.push_back("--json");
  const auto result = tallyfin::testing::runProcess(TALLYFIN_BINARY, arguments, home.childEnvironment());
  EXPECT_EQ(result.exitCode, 0) << result.err;
  return nlohmann::json::parse(result.out, nullptr, false);
}

bool systemctlHere() { return ::access("/usr/bin/systemctl", X_OK) == 0; }

TEST(Settings, TheScheduleTheAppSetsIsTheOneTheCommandLineReports) {
  AppHome home;
  AppModel model(home.environment());
  EXPECT_EQ(model.schedule(), Schedule::off);
  EXPECT_EQ(commandLine(home, {"schedule"})["schedule"], "off");

  model.setSchedule(Schedule::weekly);
  EXPECT_TRUE(model.isApplyingSchedule());
  model.setSchedule(Schedule::daily);  // ignored while the first is set up
  ASSERT_TRUE(eventually([&] { return !model.isApplyingSchedule(); }));
  EXPECT_EQ(model.schedule(), Schedule::weekly);
  ASSERT_TRUE(model.scheduleState().has_value());
  const auto reported = commandLine(home, {"schedule"});
  EXPECT_EQ(reported["schedule"], "weekly");
  // Both read the same timer: the app's state is the command line's.
  EXPECT_EQ(reported["state"], std::string(caseName(model.scheduleState()->kind)));
  if (systemctlHere()) {
    EXPECT_TRUE(std::filesystem::exists(home / ".config/systemd/user/com.morvek.Tallyfin.weekly.timer"));
  }

  model.setSchedule(Schedule::off);
  ASSERT_TRUE(eventually([&] { return !model.isApplyingSchedule(); }));
  EXPECT_EQ(model.scheduleState()->kind, SchedulerState::Kind::off);
  EXPECT_EQ(commandLine(home, {"schedule"})["schedule"], "off");
  EXPECT_FALSE(std::filesystem::exists(home / ".config/systemd/user/com.morvek.Tallyfin.weekly.timer"));
  EXPECT_EQ(AppModel(home.environment()).schedule(), Schedule::off);
}

TEST(Settings, AutopilotAndNotificationLimitsAreReadBackByTheCommandLineAndTheNextStart) {
  AppHome home;
  {
    AppModel model(home.environment());
    EXPECT_FALSE(model.autopilot().enabled);
    model.setAutopilot({true, 45});
    NotificationSettings limits = model.notificationSettings();
    limits.growthBytes = 3'000'000'000;
    limits.cooldownDays = 2;
    model.setNotificationSettings(limits);
    const Preferences written = home.environment().preferences;
    ASSERT_TRUE(eventually([&] { return written.notificationSettings() == limits; }));
    ASSERT_TRUE(eventually([&] { return written.autopilot().enabled; }));
  }
  const auto autopilot = commandLine(home, {"autopilot"});
  EXPECT_EQ(autopilot["enabled"], true);
  EXPECT_EQ(autopilot["min_age_days"], 45);

  // The command line changes it; the next start of the app shows that.
  commandLine(home, {"autopilot", "off"});
  const AppModel next(home.environment());
  EXPECT_EQ(next.autopilot(), (AutopilotSettings{false, 45}));
  EXPECT_EQ(next.notificationSettings().growthBytes, 3'000'000'000);
  EXPECT_EQ(next.notificationSettings().cooldownDays, 2);
  // Limits nobody touched keep their exact defaults.
  EXPECT_EQ(next.notificationSettings().lowSpaceBytes, NotificationSettings{}.lowSpaceBytes);
}

TEST(Settings, AutopilotShowsWhatItWouldMoveAtEachAge) {
  AppHome home;
  // pip's cache untouched since 2020; npm's written today.
  for (const char* path : {".cache/pip/http/blob", ".cache/pip/http", ".cache/pip"}) {
    tallyfin::testing::setModified(home / path, 1'600'000'000);
  }
  AppModel model(home.environment());
  model.scanner().load();
  model.scanner().scan();
  ASSERT_TRUE(eventually([&] { return model.scanner().report() != nullptr && !model.scanner().isScanning(); }));
  const double now = secondsSinceEpoch();

  const auto picked = model.autopilotPreview({false, 30}, now);
  ASSERT_EQ(picked.size(), 1u);
  EXPECT_EQ(picked.front().path, home / ".cache/pip");
  // Review items (the Hugging Face model) never qualify, however old.
  EXPECT_TRUE(model.autopilotPreview({true, 14}, now + 3'650 * 86'400.0).size() >= 2u);
  for (const auto& item : model.autopilotPreview({true, 14}, now + 3'650 * 86'400.0)) {
    EXPECT_EQ(item.safety, Safety::safe) << item.path;
  }

  model.setKept({home / ".cache/pip"}, true);
  ASSERT_TRUE(eventually([&] { return !model.keep().empty(); }));
  EXPECT_TRUE(model.autopilotPreview({true, 30}, now).empty());
}

TEST(Settings, TheReleaseNotesAreUnreadUntilTheirPageIsOpened) {
  AppHome home;
  {
    AppModel model(home.environment());
    EXPECT_TRUE(model.whatsNewUnread());
    model.setRoute(Route::whatsNew);
    EXPECT_FALSE(model.whatsNewUnread());
    const Preferences written = home.environment().preferences;
    ASSERT_TRUE(eventually([&] { return written.whatsNewSeen() == AppModel::version(); }));
  }
  EXPECT_FALSE(AppModel(home.environment()).whatsNewUnread());
  // Notes of an earlier version seen: this version's are new again.
  ASSERT_TRUE(home.environment().preferences.setWhatsNewSeen("0.0.1").ok());
  EXPECT_TRUE(AppModel(home.environment()).whatsNewUnread());
  EXPECT_TRUE(HelpLibrary::whatsNew().contains(QString::fromUtf8(AppModel::version().data())));
}

TEST(Help, ArticlesAreFoundByEveryWordAndOpenAtTheirTopic) {
  const HelpLibrary library;
  ASSERT_EQ(library.articles().size(), 7u);
  for (const HelpArticle& article : library.articles()) {
    EXPECT_FALSE(article.title.isEmpty()) << article.name.toStdString();
    EXPECT_GT(article.markdown.size(), 400) << article.name.toStdString();
  }
  EXPECT_EQ(library.search("").size(), 7u);
  const auto trash = library.search("  UNDO   journal ");
  ASSERT_FALSE(trash.empty());
  EXPECT_EQ(trash.front()->name, "trash-and-undo");
  EXPECT_TRUE(library.search("undo zeppelin").empty());
  ASSERT_EQ(library.search("crontab").size(), 1u);
  EXPECT_EQ(library.search("crontab").front()->name, "scheduled-scans");
  EXPECT_EQ(library.article("nothing-here"), nullptr);

  AppHome home;
  AppModel model(home.environment());
  model.openHelp("privacy");
  EXPECT_EQ(model.route(), Route::help);
  EXPECT_EQ(model.helpTopic(), "privacy");
}

}  // namespace
}  // namespace tallyfin::app
