#include "kit/tools/flatpak_apps.h"

#include <algorithm>

#include "kit/base/decimal_size.h"
#include "kit/base/paths.h"
#include "kit/base/subfolders.h"
#include "kit/base/text.h"
#include "kit/base/tree_walk.h"
#include "kit/scan/path_size.h"
#include "kit/platform/probe_environment.h"
#include "kit/platform/spawned.h"

namespace tallyfin::Flatpak {
std::vector<std::string> cliPaths() { return {"/usr/bin/flatpak", "/usr/local/bin/flatpak"}; }

std::vector<std::string> listArguments() { return {"list", "--app", "--columns=application,name,version,size"}; }

std::vector<FlatpakApp> parseList(std::string_view output) {
  std::vector<FlatpakApp> apps;
  for (const auto line : splitOn(output, '\n')) {
    const auto parts = splitOn(line, '\t');
    if (parts[0].empty()) continue;
    FlatpakApp app;
    app.id = std::string(parts[0]);
    app.name = parts.size() > 1 && !parts[1].empty() ? std::string(parts[1]) : app.id;
    if (parts.size() > 2 && !parts[2].empty()) app.version = std::string(parts[2]);
    if (parts.size() > 3) app.size = decimalBytes(parts[3]);
    apps.push_back(std::move(app));
  }
  return apps;
}

std::optional<std::vector<FlatpakApp>> installed(const std::string& home, const std::optional<std::string>& cli,
                                                 double timeoutSeconds) {
  if (!cli) return std::nullopt;
  const auto run = runTool(*cli, listArguments(), probeEnvironment(home), timeoutSeconds);
  if (!run.succeeded()) return std::nullopt;
  return parseList(run.output);
}

std::vector<OrphanGroup> removedAppData(const std::string& home, const std::vector<FlatpakApp>& apps, int days,
                                        double now) {
  const int64_t quietSince = static_cast<int64_t>(now) - static_cast<int64_t>(days) * 86'400;
  std::vector<OrphanGroup> groups;
  for (const auto& folder : sortedSubfolders(home + "/.var/app")) {
    const std::string id(lastComponent(folder));
    const bool stillInstalled =
        std::any_of(apps.begin(), apps.end(), [&](const FlatpakApp& app) { return app.id == id; });
    if (stillInstalled) continue;
    const auto changed = latestChange(folder, AppUninstaller::kChangeLookLimit);
    if (!changed || *changed > quietSince) continue;
    groups.push_back({id, {{folder, LeftoverKind::support, measuredSize(folder, home), false, false}}, *changed});
  }
  std::sort(groups.begin(), groups.end(), [](const OrphanGroup& a, const OrphanGroup& b) { return a.size() > b.size(); });
  return groups;
}

}  // namespace tallyfin::Flatpak
