#include "kit/shell/scheduler.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using Kind = SchedulerState::Kind;
using platform::LaunchAgents;
using testing::TempFolder;

constexpr const char* kSystemctl = "/usr/bin/systemctl";
constexpr const char* kAnalyze = "/usr/bin/systemd-analyze";

bool executable(const char* path) { return ::access(path, X_OK) == 0; }

// Every file and link below the unit folder, as paths relative to it.
std::set<std::string> unitFiles(const std::string& folder) {
  std::set<std::string> files;
  std::error_code ignored;
  for (auto it = std::filesystem::recursive_directory_iterator(folder, ignored);
       it != std::filesystem::recursive_directory_iterator(); ++it) {
    if (!it->is_directory(ignored) || it->is_symlink(ignored)) {
      files.insert(it->path().lexically_relative(folder).string());
    }
  }
  return files;
}

// A home in a temp folder whose settings, units and runtime folder are its own: the
// real systemctl works on its files there and reaches no running service manager.
struct UnitHome {
  TempFolder folder;
  std::string units = folder / ".config/systemd/user";
  std::string runtime = folder / "run";

  UnitHome() {
    testing::makeFolder(runtime);
    ::chmod(runtime.c_str(), 0700);
  }

  std::vector<std::string> environment() const {
    return {"PATH=/usr/bin:/bin", "LC_ALL=C", "HOME=" + folder.path(), "XDG_CONFIG_HOME=" + folder / ".config",
            "XDG_RUNTIME_DIR=" + runtime};
  }

  LaunchAgents::Setup systemd(std::string executable = TALLYFIN_BINARY) const {
    LaunchAgents::Setup setup;
    setup.unitFolder = units;
    setup.executable = std::move(executable);
    setup.systemctl = kSystemctl;
    setup.environment = environment();
    return setup;
  }
};

TEST(Scheduler, SwitchingSchedulesLeavesOnlyTheChosenUnits) {
  if (!executable(kSystemctl)) GTEST_SKIP() << "systemctl is not installed";
  UnitHome home;
  const Scheduler scheduler{LaunchAgents(home.systemd())};

  scheduler.apply(Schedule::weekly);
  EXPECT_EQ(unitFiles(home.units),
            (std::set<std::string>{"com.morvek.Tallyfin.weekly.service", "com.morvek.Tallyfin.weekly.timer",
                                   "timers.target.wants/com.morvek.Tallyfin.weekly.timer"}));

  scheduler.apply(Schedule::daily);
  EXPECT_EQ(unitFiles(home.units),
            (std::set<std::string>{"com.morvek.Tallyfin.daily.service", "com.morvek.Tallyfin.daily.timer",
                                   "timers.target.wants/com.morvek.Tallyfin.daily.timer"}));
  const LaunchAgents agents(home.systemd());
  EXPECT_EQ(agents.status(Scheduler::job(Schedule::daily)), platform::AgentStatus::enabled);
  EXPECT_EQ(agents.status(Scheduler::job(Schedule::weekly)), platform::AgentStatus::notFound);

  const SchedulerState off = scheduler.apply(Schedule::off);
  EXPECT_EQ(off.kind, Kind::off);
  EXPECT_FALSE(off.reason.has_value());
  EXPECT_TRUE(unitFiles(home.units).empty());
}

TEST(Scheduler, WithoutAServiceManagerTheStateIsOffWithTheReason) {
  if (!executable(kSystemctl)) GTEST_SKIP() << "systemctl is not installed";
  UnitHome home;
  const Scheduler scheduler{LaunchAgents(home.systemd())};
  const SchedulerState state = scheduler.apply(Schedule::daily);
  EXPECT_EQ(state.kind, Kind::off);
  ASSERT_TRUE(state.reason.has_value());
  EXPECT_NE(state.reason->find("no cron daemon"), std::string::npos);
  EXPECT_EQ(state.reason->find('\n'), std::string::npos);
  // The timer stays enabled for when a user session with a manager starts.
  EXPECT_TRUE(std::filesystem::exists(home.units + "/timers.target.wants/com.morvek.Tallyfin.daily.timer"));
  EXPECT_EQ(scheduler.state(Schedule::off).kind, Kind::off);
}

TEST(Scheduler, UnitsPassSystemdsOwnChecks) {
  if (!executable(kSystemctl) || !executable(kAnalyze)) GTEST_SKIP() << "systemd-analyze is not installed";
  UnitHome home;
  // A path with a space and systemd's specifier characters must reach ExecStart unchanged.
  const std::string binary = home.folder / "my tools/50% $HOME/tallyfin";
  testing::makeFolder(home.folder / "my tools/50% $HOME");
  testing::symbolicLink(TALLYFIN_BINARY, binary);
  const LaunchAgents agents(home.systemd(binary));
  for (const Schedule schedule : {Schedule::weekly, Schedule::daily}) {
    ASSERT_TRUE(agents.registerAgent(Scheduler::job(schedule)).ok());
    const std::string base = home.units + "/" + *agentLabel(schedule);
    const auto verified =
        testing::runProcess(kAnalyze, {"verify", "--user", base + ".timer", base + ".service"}, home.environment());
    EXPECT_EQ(verified.exitCode, 0) << verified.err;
    EXPECT_EQ(verified.err, "");  // no unknown keys or warnings either

    const std::string timer = testing::readText(base + ".timer");
    const size_t at = timer.find("OnCalendar=");
    ASSERT_NE(at, std::string::npos);
    const std::string calendar = timer.substr(at + 11, timer.find('\n', at) - at - 11);
    const auto next = testing::runProcess(kAnalyze, {"calendar", calendar}, home.environment());
    EXPECT_EQ(next.exitCode, 0) << next.err;
    EXPECT_NE(next.out.find(schedule == Schedule::weekly ? "Next elapse: Mon " : "Next elapse: "), std::string::npos);
    EXPECT_NE(next.out.find(" 10:00:00"), std::string::npos) << next.out;
    EXPECT_NE(timer.find("Persistent=true"), std::string::npos);
  }
  EXPECT_NE(testing::readText(home.units + "/com.morvek.Tallyfin.daily.service").find("ExecStart=\"" + home.folder.path() +
                                                                            "/my tools/50%% $HOME/tallyfin\" --background-scan"),
            std::string::npos);
}

// A stand-in for crontab (no cron is installed here, and the real one would edit
// this user's real table): -l prints the table file or says there is none, FILE
// replaces it.
struct CronHome {
  TempFolder folder;
  std::string table = folder / "crontab-table";
  std::string program = folder / "crontab";

  explicit CronHome(bool readable = true) {
    std::ofstream(program) << "#!/bin/sh\n"
                           << (readable ? "" : "[ \"$1\" = -l ] && { echo 'crontab: permission denied' >&2; exit 1; }\n")
                           << "if [ \"$1\" = -l ]; then\n"
                           << "  [ -f '" << table << "' ] || { echo \"no crontab for tester\" >&2; exit 1; }\n"
                           << "  exec cat '" << table << "'\n"
                           << "fi\n"
                           << "exec cp \"$1\" '" << table << "'\n";
    ::chmod(program.c_str(), 0755);
  }

  LaunchAgents::Setup setup() const {
    LaunchAgents::Setup setup;
    setup.unitFolder = folder / ".config/systemd/user";
    setup.executable = "/opt/tally fin/50%/tallyfin";
    setup.crontab = program;
    setup.environment = {"PATH=/usr/bin:/bin"};
    setup.cronRunning = true;
    return setup;
  }
};

TEST(SchedulerCron, EntriesGoBetweenMarkersAndTheUsersOwnLinesStay) {
  CronHome cron;
  const std::string own = "MAILTO=me@example.com\n\n# backups\n*/5 * * * * echo hi\n";
  std::ofstream(cron.table) << own;
  const Scheduler scheduler{LaunchAgents(cron.setup())};

  EXPECT_EQ(scheduler.apply(Schedule::weekly).kind, Kind::scheduled);
  EXPECT_EQ(testing::readText(cron.table),
            own + "# BEGIN com.morvek.Tallyfin.weekly (Tallyfin's scheduled scan)\n"
                  "0 10 * * 1 nice -n 19 ionice -c 3 '/opt/tally fin/50\\%/tallyfin' --background-scan >/dev/null 2>&1\n"
                  "# END com.morvek.Tallyfin.weekly\n");

  EXPECT_EQ(scheduler.apply(Schedule::daily).kind, Kind::scheduled);
  const std::string daily = testing::readText(cron.table);
  EXPECT_EQ(daily.find("weekly"), std::string::npos);
  EXPECT_NE(daily.find("0 10 * * * nice"), std::string::npos);
  EXPECT_TRUE(daily.starts_with(own));

  EXPECT_EQ(scheduler.apply(Schedule::off).kind, Kind::off);
  EXPECT_EQ(testing::readText(cron.table), own);
}

TEST(SchedulerCron, AFreshTableIsMadeAndAnUnreadableOneLeftAlone) {
  CronHome fresh;
  EXPECT_EQ(Scheduler(LaunchAgents(fresh.setup())).apply(Schedule::daily).kind, Kind::scheduled);
  EXPECT_TRUE(testing::readText(fresh.table).starts_with("# BEGIN com.morvek.Tallyfin.daily"));

  CronHome locked(false);
  std::ofstream(locked.table) << "*/5 * * * * echo mine\n";
  const SchedulerState state = Scheduler(LaunchAgents(locked.setup())).apply(Schedule::daily);
  EXPECT_EQ(state.kind, Kind::off);
  EXPECT_EQ(state.reason, "Could not read your crontab, so it was left as it is.");
  EXPECT_EQ(testing::readText(locked.table), "*/5 * * * * echo mine\n");
}

TEST(SchedulerCron, WithoutTheDaemonNothingIsWrittenThatWouldNeverRun) {
  CronHome cron;
  LaunchAgents::Setup setup = cron.setup();
  setup.cronRunning = false;
  const SchedulerState state = Scheduler(LaunchAgents(setup)).apply(Schedule::weekly);
  EXPECT_EQ(state.kind, Kind::off);
  EXPECT_EQ(state.reason, "Neither systemd nor a running cron daemon is here to start scheduled scans.");
  EXPECT_FALSE(std::filesystem::exists(cron.table));
}

}  // namespace
}  // namespace tallyfin
