#include "app/model/app_environment.h"

#include "kit/platform/launch_agents.h"
#include "kit/platform/user_folders.h"
#include "kit/tools/app_uninstaller.h"
#include "kit/tools/docker_probe.h"
#include "kit/tools/flatpak_apps.h"
#include "kit/tools/tool_probe.h"

namespace tallyfin::app {

AppEnvironment AppEnvironment::forThisUser() {
  const std::string home = platform::homeFolder();
  return AppEnvironment{home,
                        Store::standard(),
                        Preferences::standard(),
                        ScanConfiguration::wholeDisk(home),
                        [home] { return ToolProbe::collect(home); },
                        systemTrasher(home),
                        [](Schedule schedule) {
                          return Scheduler(platform::LaunchAgents(platform::LaunchAgents::forThisUser())).state(schedule);
                        },
                        "/",
                        AppUninstaller::applicationFolders(home),
                        DockerProbe::cliPaths(home),
                        Flatpak::cliPaths()};
}

}  // namespace tallyfin::app
