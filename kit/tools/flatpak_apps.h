#pragma once

// Flatpak applications on Linux: what is installed, asked of flatpak itself, and
// the data folders in ~/.var/app that removed apps left behind. Installed apps
// are never moved here: Flatpak removes its own apps, so the command is offered.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/tools/app_uninstaller.h"

namespace tallyfin {

struct FlatpakApp {
  std::string id;
  std::string name;
  std::optional<std::string> version;
  int64_t size = 0;

  // What the user runs to remove the app and its data.
  std::string command() const { return "flatpak uninstall --delete-data " + id; }
};

namespace Flatpak {

inline constexpr double kTimeoutSeconds = 15;

// Where a flatpak command is looked for; nothing else (no PATH) is searched.
std::vector<std::string> cliPaths();

// The arguments that make `flatpak list` print one tab-separated line per app.
std::vector<std::string> listArguments();

// Lines of "ID\tNAME\tVERSION\tSIZE"; lines without an id are passed over.
std::vector<FlatpakApp> parseList(std::string_view output);

// The installed apps; none when flatpak is missing, fails or hangs.
std::optional<std::vector<FlatpakApp>> installed(const std::string& home, const std::optional<std::string>& cli,
                                                 double timeoutSeconds = kTimeoutSeconds);

// Folders of ~/.var/app whose app is not installed and that did not change
// within `days`, each as the leftovers of one removed app.
std::vector<OrphanGroup> removedAppData(const std::string& home, const std::vector<FlatpakApp>& apps, int days,
                                        double now);

}  // namespace Flatpak
}  // namespace tallyfin
