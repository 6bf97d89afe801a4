#include "app/model/app_environment.h"

#include "kit/base/paths.h"
#include "kit/platform/launch_agents.h"
#include "kit/platform/package_installer.h"
#include "kit/platform/processes.h"
#include "kit/platform/user_folders.h"
#include "kit/tools/app_uninstaller.h"
#include "kit/tools/docker_probe.h"
#include "kit/tools/flatpak_apps.h"
#include "kit/tools/tool_probe.h"

namespace tallyfin::app {
namespace {

// Asks the system each time: what runs (systemd, cron) may change while the app is open.
Scheduler thisUsersScheduler() { return Scheduler(platform::LaunchAgents(platform::LaunchAgents::forThisUser())); }

}  // namespace

AppEnvironment AppEnvironment::forThisUser() {
  const std::string home = platform::homeFolder();
  return AppEnvironment{home,
                        Store::standard(),
                        Preferences::standard(),
                        ScanConfiguration::wholeDisk(home),
                        [home] { return ToolProbe::collect(home); },
                        systemTrasher(home),
                        [](Schedule schedule) { return thisUsersScheduler().state(schedule); },
                        [](Schedule schedule) { return thisUsersScheduler().apply(schedule); },
                        "/",
                        AppUninstaller::applicationFolders(home),
                        DockerProbe::cliPaths(home),
                        Flatpak::cliPaths(),
                        // Installed side by side: bin/tallyfin-app and bin/tallyfin.
                        std::string(parentPath(platform::thisExecutable())) + "/tallyfin",
                        std::nullopt,
                        platform::downloadFolder()};
}

}  // namespace tallyfin::app
