#pragma once

// Where applications and what they leave behind live, as the trash service and
// the uninstaller judge it. Parts of the system and Tallyfin itself are never offered.

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tallyfin {

enum class LeftoverKind {
  support,
  caches,
  preferences,
  containers,
  groupContainers,
  savedState,
  logs,
  webData,
  launchAgents,
};

struct LeftoverFolder {
  std::string_view folder;  // below ~/Library
  LeftoverKind kind;
};

namespace AppUninstaller {

inline constexpr std::string_view kOwnBundleIdentifier = "com.morvek.tallyfin";

const std::array<LeftoverFolder, 11>& leftoverFolders();

// An ".app" folder directly inside /Applications or ~/Applications.
bool isAppBundleLocation(std::string_view path, std::string_view home);

// Something an app keeps directly inside one of the Library folders it writes to,
// never Apple's own items nor Tallyfin's.
bool isLeftoverLocation(std::string_view path, std::string_view home);

// Why the bundle at `path` may not be removed; none when it may.
std::optional<std::string> bundleRefusal(std::string_view path, std::string_view home);

// CFBundleIdentifier from the bundle's Contents/Info.plist (XML or binary).
std::optional<std::string> bundleIdentifier(const std::string& bundlePath);

}  // namespace AppUninstaller
}  // namespace tallyfin
