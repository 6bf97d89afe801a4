#include "kit/agents/apps_json.h"

#include "kit/agents/json_values.h"
#include "kit/store/format.h"

namespace tallyfin::AgentJson {
nlohmann::json apps(const AppInventory& inventory) {
  nlohmann::json installed = nlohmann::json::array();
  for (const auto& app : inventory.apps) {
    installed.push_back({{"name", app.name},
                         {"bundle_id", app.bundleID},
                         {"path", app.path},
                         {"size", app.size},
                         {"app_store", app.fromAppStore},
                         {"version", orNull(app.version)},
                         {"last_opened", isoDateOrNull(app.lastUsed)},
                         {"not_removable", orNull(app.refusal)}});
  }
  nlohmann::json removed = nlohmann::json::array();
  for (const auto& group : inventory.removed) {
    nlohmann::json items = nlohmann::json::array();
    for (const auto& leftover : group.leftovers) {
      items.push_back({{"path", leftover.path},
                       {"kind", std::string(AppUninstaller::title(leftover.kind))},
                       {"size", leftover.size}});
    }
    removed.push_back({{"bundle_id", group.bundleID},
                       {"name_guess", group.displayName()},
                       {"size", group.size()},
                       {"last_changed", Format::isoDate(group.lastModified)},
                       {"items", std::move(items)}});
  }
  nlohmann::json json = {{"apps", std::move(installed)}, {"leftovers_of_removed_apps", std::move(removed)}};
  if (inventory.flatpak) {
    nlohmann::json flatpak = nlohmann::json::array();
    for (const auto& app : *inventory.flatpak) {
      flatpak.push_back({{"id", app.id},
                         {"name", app.name},
                         {"version", orNull(app.version)},
                         {"size", app.size},
                         {"command", app.command()}});
    }
    json["flatpak_apps"] = std::move(flatpak);
  }
  return json;
}

}  // namespace tallyfin::AgentJson
