#pragma once

// Everything the uninstaller shows for this machine in one place: the app
// bundles, the leftovers of removed apps, and on Linux the Flatpak apps with the
// data folders removed ones left.

#include <optional>
#include <string>
#include <vector>

#include "kit/tools/app_uninstaller.h"
#include "kit/tools/flatpak_apps.h"

namespace tallyfin {

struct AppInventory {
  std::vector<InstalledApp> apps;
  std::vector<OrphanGroup> removed;  // bundle leftovers and Flatpak data alike, largest first
  std::optional<std::vector<FlatpakApp>> flatpak;  // none when flatpak is not there to ask

  // The app folders and the flatpak command of this system.
  static AppInventory forThisSystem(const std::string& home, double now);
  static AppInventory gather(const std::vector<std::string>& applicationFolders, const std::string& home,
                             const std::optional<std::string>& flatpakCli, double now);
};

}  // namespace tallyfin
