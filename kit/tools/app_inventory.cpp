#include "kit/tools/app_inventory.h"

#include <algorithm>

#include "kit/platform/probe_environment.h"

namespace tallyfin {

AppInventory AppInventory::forThisSystem(const std::string& home, double now) {
  return gather(AppUninstaller::applicationFolders(home), home, firstExecutable(Flatpak::cliPaths()), now);
}

AppInventory AppInventory::gather(const std::vector<std::string>& applicationFolders, const std::string& home,
                                  const std::optional<std::string>& flatpakCli, double now) {
  AppInventory inventory;
  inventory.apps = AppUninstaller::installedApps(applicationFolders, home);
  inventory.removed = AppUninstaller::orphans(home, inventory.apps, AppUninstaller::kOrphanQuietDays, now);
  inventory.flatpak = Flatpak::installed(home, flatpakCli);
  // Without an answer from flatpak nothing can be told apart from an installed app's data.
  if (inventory.flatpak) {
    for (auto& group : Flatpak::removedAppData(home, *inventory.flatpak, AppUninstaller::kOrphanQuietDays, now)) {
      inventory.removed.push_back(std::move(group));
    }
    std::stable_sort(inventory.removed.begin(), inventory.removed.end(),
                     [](const OrphanGroup& a, const OrphanGroup& b) { return a.size() > b.size(); });
  }
  return inventory;
}

}  // namespace tallyfin
