// The systemd side of the scheduled scan against a stand-in systemctl: a real
// child process that answers as systemctl does and writes down every call, so the
// order of enable, daemon-reload, start, stop and disable can be checked.

#include "kit/platform/launch_agents.h"

#include <gtest/gtest.h>

#include <fstream>

#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using platform::AgentJob;
using platform::LaunchAgents;

struct FakeSystemctl {
  testing::TempFolder folder;
  std::string program = folder / "bin/systemctl";
  std::string calls = folder / "calls";
  std::string reloadFails = folder / "reload-fails";  // present: daemon-reload exits 1

  FakeSystemctl() {
    testing::writeText(program, "#!/bin/sh\n"
                                "printf '%s\\n' \"$*\" >> '" + calls + "'\n"
                                "[ \"$2\" = daemon-reload ] && [ -e '" + reloadFails + "' ] && exit 1\n"
                                "exit 0\n");
    testing::setMode(program, 0755);
  }

  LaunchAgents agents(bool managerRunning) const {
    LaunchAgents::Setup setup;
    setup.unitFolder = folder / "units";
    setup.executable = "/opt/tallyfin/tallyfin";
    setup.systemctl = program;
    setup.environment = {"PATH=/usr/bin:/bin"};
    setup.managerRunning = managerRunning;
    return LaunchAgents(setup);
  }

  // The calls since the last look, one line each.
  std::string takeCalls() const {
    std::string text = testing::readText(calls);
    std::ofstream(calls, std::ios::trunc);
    return text;
  }
};

const AgentJob kJob{"com.morvek.Tallyfin.weekly", true};

TEST(LaunchAgentsSystemd, ARunningManagerReloadsItsUnitsBeforeTheTimerStartsAndAfterTheyGo) {
  const FakeSystemctl systemctl;
  const LaunchAgents agents = systemctl.agents(true);

  ASSERT_TRUE(agents.registerAgent(kJob));
  EXPECT_EQ(systemctl.takeCalls(),
            "--user enable com.morvek.Tallyfin.weekly.timer\n"
            "--user daemon-reload\n"
            "--user start com.morvek.Tallyfin.weekly.timer\n");
  EXPECT_TRUE(testing::pathExists(systemctl.folder / "units/com.morvek.Tallyfin.weekly.service"));

  ASSERT_TRUE(agents.unregisterAgent(kJob));
  EXPECT_EQ(systemctl.takeCalls(),
            "--user stop com.morvek.Tallyfin.weekly.timer\n"
            "--user disable com.morvek.Tallyfin.weekly.timer\n"
            "--user daemon-reload\n");
  EXPECT_FALSE(testing::pathExists(systemctl.folder / "units/com.morvek.Tallyfin.weekly.timer"));
}

TEST(LaunchAgentsSystemd, WithoutARunningManagerTheTimerIsOnlyEnabled) {
  const FakeSystemctl systemctl;
  const LaunchAgents agents = systemctl.agents(false);

  ASSERT_TRUE(agents.registerAgent(kJob));
  EXPECT_EQ(systemctl.takeCalls(), "--user enable com.morvek.Tallyfin.weekly.timer\n");
  ASSERT_TRUE(agents.unregisterAgent(kJob));
  EXPECT_EQ(systemctl.takeCalls(), "--user disable com.morvek.Tallyfin.weekly.timer\n");
}

TEST(LaunchAgentsSystemd, AFailedReloadStopsTheRegistrationButNotTheRemoval) {
  const FakeSystemctl systemctl;
  testing::writeText(systemctl.reloadFails, "");
  const LaunchAgents agents = systemctl.agents(true);

  const Status registered = agents.registerAgent(kJob);
  ASSERT_FALSE(registered);
  EXPECT_EQ(registered.error().message, "systemctl --user daemon-reload did not succeed.");
  EXPECT_EQ(systemctl.takeCalls(),
            "--user enable com.morvek.Tallyfin.weekly.timer\n"
            "--user daemon-reload\n");

  // The units are gone even though the manager could not be told.
  EXPECT_TRUE(agents.unregisterAgent(kJob));
  EXPECT_FALSE(testing::pathExists(systemctl.folder / "units/com.morvek.Tallyfin.weekly.timer"));
  EXPECT_FALSE(testing::pathExists(systemctl.folder / "units/com.morvek.Tallyfin.weekly.service"));
}

}  // namespace
}  // namespace tallyfin
