#pragma once

#include <nlohmann/json.hpp>

#include "kit/tools/app_inventory.h"

namespace tallyfin::AgentJson {

// {"apps": [{name, bundle_id, path, size, app_store, version, last_opened,
// not_removable}], "leftovers_of_removed_apps": [{bundle_id, name_guess, size,
// last_changed, items: [{path, kind, size}]}]} and, where flatpak answered,
// "flatpak_apps": [{id, name, version, size, command}].
nlohmann::json apps(const AppInventory& inventory);

}  // namespace tallyfin::AgentJson
