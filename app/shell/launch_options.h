#pragma once

// What tallyfin-app was started with (beyond Qt's own options and
// --background-scan, which are taken before).

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/model/map_picture.h"
#include "app/model/route.h"
#include "kit/base/expected.h"

namespace tallyfin::app {

struct LaunchOptions {
  std::optional<Route> route;
  std::optional<MapKind> map;  // opens the disk map in this layout
  bool help = false;
};

inline constexpr std::string_view kAppUsage =
    "usage: tallyfin-app [--route SCREEN] [--map LAYOUT]\n"
    "       tallyfin-app --background-scan\n"
    "\n"
    "Opens the Tallyfin window, or brings the running one to the front.\n"
    "  --route SCREEN     open this screen: overview, cleanup, map, largeFiles, history,\n"
    "                     aiModels, projects, duplicates, apps, docker, systemData,\n"
    "                     agents, help, whatsNew, profile\n"
    "  --map LAYOUT       open the disk map drawn as a sunburst, treemap or city\n"
    "  --background-scan  scan once without a window, as the scheduled timer does, and exit\n";

// The options, or the sentence that says what is wrong with them.
Expected<LaunchOptions, std::string> parseLaunchOptions(const std::vector<std::string>& arguments);

}  // namespace tallyfin::app
