#include "kit/shell/background_agent.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <set>

#include "kit/base/clock.h"
#include "kit/cleanup/keep_list.h"
#include "kit/history/history_files.h"
#include "kit/scan/scan_lock.h"
#include "kit/store/format.h"
#include "tests/support/file_content.h"
#include "tests/support/process.h"
#include "tests/trash/trash_fixture.h"

namespace tallyfin {
namespace {

using platform::DesktopNotification;
using platform::LogLevel;
using testing::TempHome;
constexpr int64_t kDay = 86'400;

std::set<std::string> namesIn(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) names.insert(entry.path().filename());
  return names;
}

TEST(BackgroundAgent, TheFlagCountsAnywhereAmongTheArguments) {
  EXPECT_TRUE(BackgroundAgent::isRequested({"--background-scan"}));
  EXPECT_TRUE(BackgroundAgent::isRequested({"--json", "--top", "3", "--background-scan"}));
  EXPECT_TRUE(BackgroundAgent::isRequested({"mcp", "--background-scan", "--root", "/x"}));
  EXPECT_FALSE(BackgroundAgent::isRequested({}));
  EXPECT_FALSE(BackgroundAgent::isRequested({"--background-scan=1", "background-scan", "--background"}));
}

// A Mac-like home with one old safe cache, one young one, one old one the user
// keeps and one old model that needs a look first.
class BackgroundRun : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::allocateFile(home / ".cache/pip/http/blob", 3 << 20);
    testing::allocateFile(home / ".cache/uv/archive", 1 << 20);
    testing::allocateFile(home / "Library/Caches/Yarn/v6/pkg", 1 << 20);
    testing::allocateFile(home / ".cache/huggingface/hub/models--tiny/blob", 1 << 20);
    for (const char* old : {".cache/pip", "Library/Caches/Yarn", ".cache/huggingface/hub/models--tiny"}) {
      testing::setModified(home / old, static_cast<int64_t>(secondsSinceEpoch()) - 60 * kDay);
    }
    ASSERT_TRUE(KeepList::set(home.store(), home / "Library/Caches/Yarn", true).ok());
  }

  BackgroundSettings settings() {
    ScanConfiguration configuration = ScanConfiguration::wholeDisk(home.path());
    configuration.root = home.path();
    configuration.displayRoot = home.path();
    return BackgroundSettings{home.store(),
                              home.path(),
                              configuration,
                              preferences,
                              {},
                              systemTrasher(home.path()),
                              [this](const DesktopNotification& shown) {
                                posted.push_back(shown);
                                return Status(ok());
                              },
                              [this](double seconds) {
                                waitedSeconds = seconds;
                                return answer;
                              },
                              [this] { ++cleanupOpened; },
                              [this](LogLevel, const std::string& line) { logged.push_back(line); },
                              secondsSinceEpoch};
  }

  bool logs(std::string_view start) const {
    return std::any_of(logged.begin(), logged.end(), [&](const std::string& line) { return line.starts_with(start); });
  }

  TempHome home;
  Preferences preferences{home / ".config/Tallyfin/preferences.json"};
  std::vector<DesktopNotification> posted;
  std::vector<std::string> logged;
  std::optional<std::string> answer;  // the button the user presses
  std::optional<double> waitedSeconds;
  int cleanupOpened = 0;
};

TEST_F(BackgroundRun, AutopilotMovesOnlyOldSafeUnkeptItemsAsOneBatch) {
  ASSERT_TRUE(preferences.setAutopilot({true, 30}).ok());
  EXPECT_EQ(BackgroundAgent(settings()).run(), 0);

  EXPECT_FALSE(testing::pathExists(home / ".cache/pip"));
  EXPECT_TRUE(testing::pathExists(home.trashFiles() + "/pip"));
  for (const char* stays : {".cache/uv/archive", "Library/Caches/Yarn/v6/pkg", ".cache/huggingface/hub/models--tiny/blob"}) {
    EXPECT_TRUE(testing::pathExists(home / stays)) << stays;
  }
  const auto batches = home.service().batches(1, secondsSinceEpoch());
  ASSERT_EQ(batches.size(), 1u);
  ASSERT_EQ(batches[0].entries.size(), 1u);
  EXPECT_EQ(batches[0].label(), "Autopilot");
  EXPECT_EQ(batches[0].entries[0].path, home / ".cache/pip");
  EXPECT_GE(batches[0].size, 3 << 20);

  ASSERT_FALSE(posted.empty());
  const DesktopNotification& autopilot = posted.back();
  EXPECT_EQ(autopilot.title, "Autopilot freed " + Format::bytes(batches[0].size));
  EXPECT_EQ(autopilot.body, "Moved 1 old cache and build folders to the Trash. Undo any time in Tallyfin.");
  EXPECT_EQ(autopilot.category, "tallyfin.scan");
  ASSERT_EQ(autopilot.actions.size(), 1u);
  EXPECT_EQ(autopilot.actions[0].identifier, "review");
  EXPECT_EQ(autopilot.actions[0].title, "Review cleanup");

  EXPECT_EQ(logged.front(), "scanAndNotify()");
  EXPECT_TRUE(logs("Scheduled scan finished in "));
  EXPECT_TRUE(logs("Autopilot moved 1 items"));
  const auto state = home.store().load<NotificationState>(Store::File::notifications);
  ASSERT_TRUE(state.has_value());
  EXPECT_TRUE(state->lastSent.contains("autopilot"));
}

TEST_F(BackgroundRun, ADamagedKeepListStopsAutopilotButNotTheScan) {
  ASSERT_TRUE(preferences.setAutopilot({true, 30}).ok());
  // Cut off after the first entry: read forgivingly it would be an empty list.
  testing::writeText(home.store().url(Store::File::keep), "[\"" + home / "Library/Caches/Yarn" + "\",");
  EXPECT_EQ(BackgroundAgent(settings()).run(), 0);
  EXPECT_TRUE(testing::pathExists(home / "Library/Caches/Yarn/v6/pkg"));
  EXPECT_TRUE(testing::pathExists(home / ".cache/pip/http/blob"));
  EXPECT_TRUE(home.service().batches(1, secondsSinceEpoch()).empty());
  EXPECT_TRUE(logs("Autopilot moved nothing: keep.json in " + home.store().directory() + " is damaged"));
  EXPECT_TRUE(loadReport(home.store()).has_value());
}

TEST_F(BackgroundRun, ADamagedHistoryIsKeptAsideAndLogged) {
  testing::writeText(home.store().url(Store::File::history), R"([{"date":1,"used":)");
  EXPECT_EQ(BackgroundAgent(settings()).run(), 0);
  EXPECT_TRUE(logs("Earlier records in history.json couldn't be read; the damaged file is kept as " +
                   home.store().url(Store::File::history) + ".corrupt-"));
  EXPECT_EQ(HistoryFiles::history(home.store()).size(), 1u);
}

TEST_F(BackgroundRun, WithAutopilotOffNothingMovesButTheScanIsSaved) {
  EXPECT_EQ(BackgroundAgent(settings()).run(), 0);
  EXPECT_TRUE(testing::pathExists(home / ".cache/pip/http/blob"));
  EXPECT_TRUE(home.service().batches(1, secondsSinceEpoch()).empty());
  EXPECT_TRUE(std::none_of(posted.begin(), posted.end(),
                           [](const DesktopNotification& n) { return n.title.starts_with("Autopilot"); }));
  EXPECT_TRUE(loadReport(home.store()).has_value());
  EXPECT_TRUE(home.store().load<NotificationState>(Store::File::notifications).has_value());
}

TEST_F(BackgroundRun, NoNotificationServiceIsLoggedAndTheRunGoesOn) {
  ASSERT_TRUE(preferences.setAutopilot({true, 30}).ok());
  BackgroundSettings quiet = settings();
  quiet.post = [](const DesktopNotification&) { return Status(fail(Error{"No desktop session bus.", 0})); };
  EXPECT_EQ(BackgroundAgent(quiet).run(), 0);
  EXPECT_FALSE(testing::pathExists(home / ".cache/pip"));
  EXPECT_TRUE(logs("Notification not shown: No desktop session bus."));
  EXPECT_TRUE(logs("Autopilot moved 1 items"));
}

TEST_F(BackgroundRun, ReviewCleanupPressedInTimeOpensTheCleanupScreen) {
  ASSERT_TRUE(preferences.setAutopilot({true, 30}).ok());
  answer = "review";
  EXPECT_EQ(BackgroundAgent(settings()).run(), 0);
  ASSERT_FALSE(posted.empty());
  EXPECT_EQ(posted.back().desktopEntry, "com.morvek.Tallyfin");
  EXPECT_EQ(waitedSeconds, BackgroundAgent::kAnswerWaitSeconds);
  EXPECT_EQ(cleanupOpened, 1);
}

TEST_F(BackgroundRun, AClosedNotificationOrOneNeverShownOpensNothing) {
  ASSERT_TRUE(preferences.setAutopilot({true, 30}).ok());
  answer = std::nullopt;  // dismissed, or no answer in time
  EXPECT_EQ(BackgroundAgent(settings()).run(), 0);
  EXPECT_FALSE(posted.empty());
  EXPECT_EQ(cleanupOpened, 0);

  // Nothing shown at all: the run does not wait for an answer.
  BackgroundSettings quiet = settings();
  quiet.post = [](const DesktopNotification&) { return Status(fail(Error{"No desktop session bus.", 0})); };
  waitedSeconds.reset();
  answer = "review";
  testing::allocateFile(home / ".cache/pip/http/again", 3 << 20);
  testing::setModified(home / ".cache/pip", static_cast<int64_t>(secondsSinceEpoch()) - 60 * kDay);
  EXPECT_EQ(BackgroundAgent(quiet).run(), 0);
  EXPECT_FALSE(waitedSeconds.has_value());
  EXPECT_EQ(cleanupOpened, 0);
}

TEST(BackgroundScan, AHeldScanLockEndsTheRunQuietlyWithStatusZero) {
  TempHome home;
  const Store store = home.store();
  auto lock = ScanLock::acquire(store);
  ASSERT_TRUE(lock.ok());
  const auto result = testing::runProcess(
      TALLYFIN_BINARY, {"--json", "--background-scan", "--top", "3"},
      {"PATH=/usr/bin:/bin", "HOME=" + home.path(), "XDG_DATA_HOME=" + home / ".local/share",
       "XDG_CONFIG_HOME=" + home / ".config", "XDG_RUNTIME_DIR=" + home / "run"});
  EXPECT_EQ(result.exitCode, 0);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(namesIn(store.directory()), std::set<std::string>{"scan.lock"});
}

}  // namespace
}  // namespace tallyfin
