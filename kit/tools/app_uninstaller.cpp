#include "kit/tools/app_uninstaller.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>

#include "kit/base/paths.h"
#include "kit/base/pattern.h"
#include "kit/base/saturating.h"
#include "kit/base/subfolders.h"
#include "kit/base/text.h"
#include "kit/base/tree_walk.h"
#include "kit/scan/path_size.h"

namespace tallyfin {
namespace {

// Shorter names ("Go", "QQ") would claim folders of unrelated tools.
constexpr size_t kShortestAppName = 3;

std::string library(const std::string& home) { return home + "/Library/"; }

// The bundle id an entry of a leftover folder is named for: the name without the
// endings apps add to it, and a group container without its "group." prefix.
std::string namedIdentifier(std::string_view name, LeftoverKind kind) {
  for (const std::string_view ending : {".plist", ".savedState", ".binarycookies"}) {
    if (endsWith(name, ending)) {
      name.remove_suffix(ending.size());
      break;
    }
  }
  if (kind == LeftoverKind::groupContainers && name.starts_with("group.")) name.remove_prefix(6);
  return lowercased(name);
}

// A group container may also carry a team prefix: "ABCDE12345.com.example.app".
bool namedFor(std::string_view name, LeftoverKind kind, const std::string& lowerIdentifier) {
  const std::string named = namedIdentifier(name, kind);
  if (named == lowerIdentifier) return true;
  return kind == LeftoverKind::groupContainers && endsWith(named, "." + lowerIdentifier);
}

// Tallyfin's own app and Apple's App Store apps: only their sandbox containers.
bool containersOnly(const InstalledApp& app) {
  const std::string lower = lowercased(app.bundleID);
  const std::string own(AppUninstaller::kOwnBundleIdentifier);
  return lower == own || lower.starts_with(own + ".") || (app.fromAppStore && lower.starts_with("com.apple."));
}

// The main executable's access time: starting the app reads it. With relatime
// mounts it may lag by up to a day, which is fine for "last opened".
std::optional<int64_t> lastUsed(const std::string& bundle, const std::optional<std::string>& executable) {
  if (!executable) return std::nullopt;
  struct stat info;
  if (::stat((bundle + "/Contents/MacOS/" + *executable).c_str(), &info) != 0) return std::nullopt;
  return info.st_atim.tv_sec;
}

std::string bundleStem(std::string_view bundlePath) {
  std::string_view name = lastComponent(bundlePath);
  if (endsWith(name, ".app")) name.remove_suffix(4);
  return std::string(name);
}

std::string capitalized(std::string word) {
  if (!word.empty() && word[0] >= 'a' && word[0] <= 'z') word[0] = static_cast<char>(word[0] - 'a' + 'A');
  return word;
}

// Leftovers in ~/Library are checked as an app's own items; data a Flatpak app
// left in ~/.var/app is a plain folder of the user's and is checked as one.
std::vector<TrashItem> leftoverItems(const std::vector<AppLeftover>& chosen, const std::string& home) {
  std::vector<TrashItem> items;
  for (const auto& leftover : chosen) {
    const auto origin = AppUninstaller::isLeftoverLocation(leftover.path, home) ? TrashItem::Origin::appLeftover
                                                                                : TrashItem::Origin::userChoice;
    items.push_back({leftover.path, leftover.size, origin});
  }
  return items;
}

}  // namespace

std::string OrphanGroup::displayName() const {
  // The last part names the app; a generic last part ("app", "desktop") yields the one before.
  const auto parts = splitOn(bundleID, '.');
  std::string chosen(parts.back());
  const std::string lower = lowercased(chosen);
  if (parts.size() >= 2 && (lower == "app" || lower == "desktop" || lower == "mac" || lower == "macos")) {
    chosen = std::string(parts[parts.size() - 2]);
  }
  std::string name;
  std::string word;
  for (const char c : chosen) {
    if (c == '-' || c == '_') {
      if (!word.empty()) name += (name.empty() ? "" : " ") + capitalized(std::move(word));
      word.clear();
    } else {
      word += c;
    }
  }
  if (!word.empty()) name += (name.empty() ? "" : " ") + capitalized(std::move(word));
  return name.empty() ? bundleID : name;
}

int64_t OrphanGroup::size() const {
  int64_t total = 0;
  for (const auto& leftover : leftovers) total = saturatingAdd(total, leftover.size);
  return total;
}

namespace AppUninstaller {

std::string_view title(LeftoverKind kind) {
  switch (kind) {
    case LeftoverKind::support: return "Application Support";
    case LeftoverKind::caches: return "Caches";
    case LeftoverKind::preferences: return "Preferences";
    case LeftoverKind::containers: return "Containers";
    case LeftoverKind::groupContainers: return "Group Containers";
    case LeftoverKind::savedState: return "Saved State";
    case LeftoverKind::logs: return "Logs";
    case LeftoverKind::webData: return "Web Data";
    case LeftoverKind::launchAgents: return "Launch Agents";
  }
  return "";
}

std::vector<std::string> applicationFolders(const std::string& home) {
  return {"/Applications", home + "/Applications"};
}

std::vector<InstalledApp> installedApps(const std::vector<std::string>& folders, const std::string& home) {
  std::vector<InstalledApp> apps;
  for (const auto& folder : folders) {
    for (const auto& entry : sortedEntryNames(folder)) {
      if (!endsWith(entry, ".app")) continue;
      const std::string path = joinPath(folder, entry);
      const auto info = bundleInfo(path);
      if (!info) continue;  // not an app bundle; nothing to show
      InstalledApp app;
      app.path = path;
      app.name = info->displayName.value_or(info->name.value_or(bundleStem(path)));
      app.bundleID = info->identifier;
      app.version = info->version;
      app.size = measuredSize(path, home);
      app.fromAppStore = hasAppStoreReceipt(path);
      app.lastUsed = lastUsed(path, info->executable);
      app.refusal = bundleRefusal(path, home);
      apps.push_back(std::move(app));
    }
  }
  std::sort(apps.begin(), apps.end(), [](const InstalledApp& a, const InstalledApp& b) {
    return lowercased(a.name) < lowercased(b.name) || (lowercased(a.name) == lowercased(b.name) && a.path < b.path);
  });
  return apps;
}

// The bundle's own name, the names it shows and runs as, each once (ignoring
// case), without names too short to mean one app.
std::vector<std::string> appNames(const std::string& bundlePath) {
  std::vector<std::string> names;
  const auto add = [&](const std::optional<std::string>& name) {
    if (!name || name->size() < kShortestAppName) return;
    const std::string lower = lowercased(*name);
    for (const auto& known : names) {
      if (lowercased(known) == lower) return;
    }
    names.push_back(*name);
  };
  add(bundleStem(bundlePath));
  if (const auto info = bundleInfo(bundlePath)) {
    add(info->name);
    add(info->displayName);
    add(info->executable);
  }
  return names;
}

bool mayHoldDocuments(const std::string& path, LeftoverKind kind) {
  if (kind == LeftoverKind::groupContainers) return true;
  if (kind != LeftoverKind::containers) return false;
  return !sortedEntryNames(path + "/Data/Documents").empty();
}

std::vector<AppLeftover> leftovers(const InstalledApp& app, const std::vector<InstalledApp>& installed,
                                   const std::string& home) {
  const std::string identifier = lowercased(app.bundleID);
  // Names shared with another installed app prove nothing.
  std::vector<std::string> others;
  for (const auto& other : installed) {
    if (other.path == app.path) continue;
    for (const auto& name : appNames(other.path)) others.push_back(lowercased(name));
  }
  std::vector<std::string> names;
  for (const auto& name : appNames(app.path)) {
    const std::string lower = lowercased(name);
    if (std::find(others.begin(), others.end(), lower) == others.end()) names.push_back(lower);
  }
  const bool onlyContainers = containersOnly(app);

  std::vector<AppLeftover> found;
  for (const auto& [folder, kind] : leftoverFolders()) {
    if (onlyContainers && kind != LeftoverKind::containers && kind != LeftoverKind::groupContainers) continue;
    const std::string base = library(home) + std::string(folder);
    for (const auto& entry : sortedEntryNames(base)) {
      const std::string path = base + "/" + entry;
      if (!isLeftoverLocation(path, home)) continue;
      const bool certain = namedFor(entry, kind, identifier);
      const std::string lowerEntry = lowercased(entry);
      const bool byName = !certain && !onlyContainers &&
                          std::any_of(names.begin(), names.end(), [&](const std::string& name) {
                            return lowerEntry == name || lowerEntry == name + ".plist";
                          });
      if (!certain && !byName) continue;
      found.push_back({path, kind, measuredSize(path, home), byName, mayHoldDocuments(path, kind)});
    }
  }
  return found;
}

std::vector<OrphanGroup> orphans(const std::string& home, const std::vector<InstalledApp>& installed, int days,
                                 double now) {
  static const Pattern kBundleShape("^[A-Za-z0-9-]+(\\.[A-Za-z0-9_-]+){2,}$");
  std::vector<std::string> installedIDs;
  for (const auto& app : installed) installedIDs.push_back(lowercased(app.bundleID));

  std::map<std::string, OrphanGroup> groups;  // by lowercased bundle id
  std::map<std::string, bool> recentlyChanged;
  const int64_t quietSince = static_cast<int64_t>(now) - static_cast<int64_t>(days) * 86'400;
  for (const auto& leftoverFolder : leftoverFolders()) {
    const LeftoverKind kind = leftoverFolder.kind;
    const std::string base = library(home) + std::string(leftoverFolder.folder);
    for (const auto& entry : sortedEntryNames(base)) {
      const std::string path = base + "/" + entry;
      if (!isLeftoverLocation(path, home)) continue;
      const std::string identifier = namedIdentifier(entry, kind);
      if (!kBundleShape.firstMatch(identifier)) continue;
      const bool belongs = std::any_of(installedIDs.begin(), installedIDs.end(), [&](const std::string& id) {
        return namedFor(entry, kind, id);
      });
      if (belongs) continue;
      OrphanGroup& group = groups[identifier];
      if (group.bundleID.empty()) group.bundleID = identifier;
      const auto changed = latestChange(path, kChangeLookLimit);
      if (!changed || *changed > quietSince) recentlyChanged[identifier] = true;
      if (changed) group.lastModified = std::max(group.lastModified, *changed);
      group.leftovers.push_back({path, kind, measuredSize(path, home), false, mayHoldDocuments(path, kind)});
    }
  }
  std::vector<OrphanGroup> quiet;
  for (auto& [identifier, group] : groups) {
    if (!recentlyChanged[identifier]) quiet.push_back(std::move(group));
  }
  std::sort(quiet.begin(), quiet.end(), [](const OrphanGroup& a, const OrphanGroup& b) { return a.size() > b.size(); });
  return quiet;
}

Removal uninstallBatch(const InstalledApp& app, const std::vector<AppLeftover>& chosen, const std::string& home) {
  std::vector<TrashItem> items{{app.path, app.size, TrashItem::Origin::application}};
  for (auto& item : leftoverItems(chosen, home)) items.push_back(std::move(item));
  return {std::move(items), "Uninstall " + app.name};
}

Removal leftoversBatch(const OrphanGroup& group, const std::vector<AppLeftover>& chosen, const std::string& home) {
  return {leftoverItems(chosen, home), "Leftovers of " + group.displayName()};
}

TrashOutcome uninstall(const TrashService& trash, const InstalledApp& app, const std::vector<AppLeftover>& chosen,
                       const std::string& home, double now) {
  const Removal removal = uninstallBatch(app, chosen, home);
  return trash.trash(removal.items, removal.label, now);
}

TrashOutcome removeLeftovers(const TrashService& trash, const OrphanGroup& group,
                             const std::vector<AppLeftover>& chosen, const std::string& home, double now) {
  const Removal removal = leftoversBatch(group, chosen, home);
  return trash.trash(removal.items, removal.label, now);
}

}  // namespace AppUninstaller
}  // namespace tallyfin
