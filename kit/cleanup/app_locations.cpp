#include "kit/cleanup/app_locations.h"

#include <sys/stat.h>

#include <algorithm>
#include <cctype>

#include "kit/base/paths.h"
#include "kit/base/small_file.h"
#include "kit/base/text.h"
#include "kit/base/plist_values.h"
#include "kit/platform/system_words.h"

namespace tallyfin::AppUninstaller {
namespace {

constexpr int64_t kLargestInfoPlist = 4'194'304;

constexpr std::array<LeftoverFolder, 11> kLeftoverFolders = {{
    {"Application Support", LeftoverKind::support},
    {"Caches", LeftoverKind::caches},
    {"Preferences", LeftoverKind::preferences},
    {"Preferences/ByHost", LeftoverKind::preferences},
    {"Containers", LeftoverKind::containers},
    {"Group Containers", LeftoverKind::groupContainers},
    {"Saved Application State", LeftoverKind::savedState},
    {"Logs", LeftoverKind::logs},
    {"WebKit", LeftoverKind::webData},
    {"HTTPStorages", LeftoverKind::webData},
    {"LaunchAgents", LeftoverKind::launchAgents},
}};

// Preference folders and launch agents hold property lists, saved state its
// ".savedState" folders; the other folders hold whatever the app made.
bool fitsKind(LeftoverKind kind, std::string_view name) {
  switch (kind) {
    case LeftoverKind::preferences:
    case LeftoverKind::launchAgents:
      return endsWith(name, ".plist");
    case LeftoverKind::savedState:
      return endsWith(name, ".savedState");
    default:
      return true;
  }
}

bool isOwnOrApple(std::string_view name) {
  const std::string lower = lowercased(name);
  const std::string own(kOwnBundleIdentifier);
  return lower.starts_with("com.apple.") || lower == own || lower.starts_with(own + ".") ||
         lower.starts_with("tallyfin") || lower.starts_with("mossledger");
}

}  // namespace

const std::array<LeftoverFolder, 11>& leftoverFolders() { return kLeftoverFolders; }

bool isAppBundleLocation(std::string_view path, std::string_view home) {
  if (!endsWith(path, ".app") || hasDotComponents(path)) return false;
  const std::string_view parent = parentPath(path);
  return parent == "/Applications" || parent == std::string(home) + "/Applications";
}

bool isLeftoverLocation(std::string_view path, std::string_view home) {
  const std::string library = std::string(home) + "/Library/";
  if (!path.starts_with(library) || hasDotComponents(path)) return false;
  const std::string_view parent = parentPath(path);
  if (parent.size() < library.size()) return false;  // ~/Library itself holds no leftovers
  const std::string_view folder = parent.substr(library.size());
  const std::string_view name = lastComponent(path);
  for (const auto& leftover : kLeftoverFolders) {
    if (folder == leftover.folder) return !isOwnOrApple(name) && fitsKind(leftover.kind, name);
  }
  return false;
}

bool hasAppStoreReceipt(const std::string& bundlePath) {
  struct stat info;
  return ::lstat((bundlePath + "/Contents/_MASReceipt/receipt").c_str(), &info) == 0;
}

std::optional<BundleInfo> bundleInfo(const std::string& bundlePath) {
  const auto bytes = readSmallFile(bundlePath + "/Contents/Info.plist", kLargestInfoPlist);
  if (!bytes) return std::nullopt;
  const auto root = plist_values::parse(*bytes);
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;
  const auto text = [&](const char* key) -> std::optional<std::string> {
    auto value = plist_values::stringValue(plist_dict_get_item(root.get(), key));
    if (value && value->empty()) return std::nullopt;
    return value;
  };
  auto identifier = text("CFBundleIdentifier");
  if (!identifier) return std::nullopt;
  auto version = text("CFBundleShortVersionString");
  return BundleInfo{std::move(*identifier), text("CFBundleName"), text("CFBundleDisplayName"),
                    text("CFBundleExecutable"), version ? version : text("CFBundleVersion")};
}

std::optional<std::string> bundleRefusal(std::string_view path, std::string_view home) {
  if (!isAppBundleLocation(path, home)) {
    const bool inApplications = path.starts_with("/Applications/") ||
                                path.starts_with(std::string(home) + "/Applications/");
    return inApplications ? "Not an app" : "Only apps in Applications can be removed";
  }
  const std::string bundle(path);
  const auto info = bundleInfo(bundle);
  if (!info) return "Not an app";
  const std::string lower = lowercased(info->identifier);
  if (lower == kOwnBundleIdentifier) return "That's Tallyfin \u2014 remove it in " + std::string(platform::fileManager()) + " if you want to";
  if (lower.starts_with("com.apple.") && !hasAppStoreReceipt(bundle)) {
    return "Part of macOS";
  }
  return std::nullopt;
}

}  // namespace tallyfin::AppUninstaller
