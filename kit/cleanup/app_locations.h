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

// Apple's App Store leaves its receipt inside every app it installs.
bool hasAppStoreReceipt(const std::string& bundlePath);

// What a bundle's Contents/Info.plist (XML or binary) says about it; none when
// it has no readable, non-empty CFBundleIdentifier.
struct BundleInfo {
  std::string identifier;
  std::optional<std::string> name;         // CFBundleName
  std::optional<std::string> displayName;  // CFBundleDisplayName
  std::optional<std::string> executable;   // CFBundleExecutable
  std::optional<std::string> version;      // CFBundleShortVersionString, else CFBundleVersion
};
std::optional<BundleInfo> bundleInfo(const std::string& bundlePath);

}  // namespace AppUninstaller
}  // namespace tallyfin
