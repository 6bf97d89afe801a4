#include "kit/scan/scan_configuration.h"

#include "kit/platform/volume_layout.h"
#include "kit/scan/mount_table.h"

namespace tallyfin {

ScanConfiguration::ScanConfiguration(std::string scanRoot, std::string homeFolder)
    : ScanConfiguration(std::move(scanRoot), std::move(homeFolder), MountTable::current()) {}

ScanConfiguration::ScanConfiguration(std::string scanRoot, std::string homeFolder,
                                     PathSet mountPoints)
    : root(std::move(scanRoot)),
      displayRoot(root),
      home(std::move(homeFolder)),
      mounts(std::move(mountPoints)) {}

ScanConfiguration ScanConfiguration::wholeDisk(const std::string& home) {
  const auto layout = platform::startupVolumeLayout();
  ScanConfiguration c(layout.scanRoot, home);
  c.displayRoot = layout.displayRoot;

  for (const char* under : {"", "/Downloads", "/.Trash", "/.cache", "/Library", "/Library/Caches",
                            "/Library/Logs", "/Library/Application Support", "/Library/Containers",
                            "/Library/Group Containers", "/Applications",
                            "/Library/Developer/Xcode/DerivedData",
                            "/Library/Developer/Xcode/Archives",
                            "/Library/Developer/Xcode/iOS DeviceSupport",
                            "/Library/Developer/Xcode/watchOS DeviceSupport",
                            "/Library/Developer/Xcode/macOS DeviceSupport",
                            "/Library/Developer/CoreSimulator/Devices", "/.cache/huggingface/hub",
                            "/.lmstudio/models", "/.android/avd", "/.codex", "/.claude",
                            "/Library/Application Support/MobileSync/Backup"}) {
    c.keepAll.insert(home + under);
  }
  c.keepAll.insert("/Applications");
  c.keepAll.insert("/Library/Caches");
  for (const auto& path : layout.keepAll) c.keepAll.insert(home + path);

  c.keepAllParents.insert(home + "/.lmstudio/models");

  c.splitPoints = {"/", "/Users"};
  for (const char* under :
       {"/Library", "/Library/Application Support", "/Library/Containers",
        "/Library/Group Containers", "/Library/Developer", "/Library/Developer/CoreSimulator",
        "/Library/Developer/CoreSimulator/Devices", "/Library/Caches", "/Library/CloudStorage",
        "/Desktop", "/Desktop/Projects", "/Documents", "/Projects", "/Developer", "/.cache"}) {
    c.splitPoints.insert(home + under);
  }
  for (const char* system : {"/Library", "/Library/Developer", "/Applications", "/private",
                             "/private/var", "/opt", "/opt/homebrew", "/System",
                             "/System/Library"}) {
    c.splitPoints.insert(system);
  }
  for (const auto& path : layout.homeSplitPoints) c.splitPoints.insert(home + path);
  for (const auto& path : layout.systemSplitPoints) c.splitPoints.insert(path);
  return c;
}

bool ScanConfiguration::keepsAllChildren(std::string_view display) const {
  return keepAll.contains(display) || keepAllParents.contains(parentPath(display));
}

std::string ScanConfiguration::displayPath(std::string_view real) const {
  // A root of "/" is a prefix of nothing but itself: the rest keeps its slash.
  const std::string_view prefix = root == "/" ? std::string_view() : std::string_view(root);
  std::string display = displayRoot;
  display += real.substr(std::min(prefix.size(), real.size()));
  return display;
}

}  // namespace tallyfin
