#pragma once

// The installed applications, what each leaves in ~/Library, the leftovers of
// apps that are gone, and the one batch that moves an app with what it left.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/cleanup/app_locations.h"
#include "kit/trash/trash_service.h"

namespace tallyfin {

struct InstalledApp {
  std::string path;  // the ".app" bundle
  std::string name;
  std::string bundleID;
  std::optional<std::string> version;
  int64_t size = 0;
  bool fromAppStore = false;
  std::optional<int64_t> lastUsed;     // seconds since 1970
  std::optional<std::string> refusal;  // why it is shown but not offered
};

struct AppLeftover {
  std::string path;
  LeftoverKind kind = LeftoverKind::support;
  int64_t size = 0;
  bool matchedByName = false;
  bool mayHoldDocuments = false;

  // Ticked unless the user has to decide: it may hold documents or only its name matched.
  bool tickedByDefault() const { return !matchedByName && !mayHoldDocuments; }
};

struct OrphanGroup {
  std::string bundleID;
  std::vector<AppLeftover> leftovers;
  int64_t lastModified = 0;  // seconds since 1970, the latest change among the leftovers

  // "com.example.photo-tool" reads as "Photo Tool".
  std::string displayName() const;
  int64_t size() const;
};

namespace AppUninstaller {

inline constexpr int kOrphanQuietDays = 14;
// Entries looked at to date a leftover; past this it counts as recently changed.
inline constexpr size_t kChangeLookLimit = 20'000;

std::string_view title(LeftoverKind kind);

// /Applications and ~/Applications.
std::vector<std::string> applicationFolders(const std::string& home);

// The ".app" bundles directly inside `folders`, sorted by name, measured now.
std::vector<InstalledApp> installedApps(const std::vector<std::string>& folders, const std::string& home);

// The names an app's files may carry besides its bundle id.
std::vector<std::string> appNames(const std::string& bundlePath);

bool mayHoldDocuments(const std::string& path, LeftoverKind kind);

// What `app` keeps in ~/Library; names other installed apps also use do not count.
std::vector<AppLeftover> leftovers(const InstalledApp& app, const std::vector<InstalledApp>& installed,
                                   const std::string& home);

// Leftovers named like a bundle id of no installed app, grouped by that id, of
// which nothing changed within `days`.
std::vector<OrphanGroup> orphans(const std::string& home, const std::vector<InstalledApp>& installed, int days,
                                 double now);

// What one batch moves and the name it has in the journal.
struct Removal {
  std::vector<TrashItem> items;
  std::string label;
};
// The app bundle with the chosen leftovers.
Removal uninstallBatch(const InstalledApp& app, const std::vector<AppLeftover>& chosen, const std::string& home);
// The chosen leftovers of a removed app.
Removal leftoversBatch(const OrphanGroup& group, const std::vector<AppLeftover>& chosen, const std::string& home);

// The app and the chosen leftovers, moved as one batch.
TrashOutcome uninstall(const TrashService& trash, const InstalledApp& app, const std::vector<AppLeftover>& chosen,
                       const std::string& home, double now);
// The chosen leftovers of a removed app, moved as one batch.
TrashOutcome removeLeftovers(const TrashService& trash, const OrphanGroup& group,
                             const std::vector<AppLeftover>& chosen, const std::string& home, double now);

}  // namespace AppUninstaller
}  // namespace tallyfin
