#include "kit/history/autopilot.h"

#include <algorithm>
#include <cmath>

#include <nlohmann/json.hpp>

namespace tallyfin {

void to_json(nlohmann::json& json, const AutopilotSettings& settings) {
  json = nlohmann::json{{"enabled", settings.enabled}, {"minAgeDays", settings.minAgeDays}};
}

void from_json(const nlohmann::json& json, AutopilotSettings& settings) {
  settings.enabled = json.at("enabled").get<bool>();
  settings.minAgeDays = json.at("minAgeDays").get<int>();
}

namespace Autopilot {

std::vector<CleanupItem> select(const std::vector<CleanupItem>& items,
                                const std::set<std::string>& keep,
                                const AutopilotSettings& settings, double now) {
  if (!settings.enabled) return {};
  const int64_t cutoff = static_cast<int64_t>(std::floor(now)) -
                         static_cast<int64_t>(settings.minAgeDays) * 86'400;
  std::vector<CleanupItem> qualifying;
  for (const auto& item : items) {
    if (item.safety != Safety::safe || !item.trashable) continue;
    if (keep.contains(item.path)) continue;
    if (!item.path.starts_with("/")) continue;
    if (item.category == CleanupCategory::downloads) continue;
    const std::optional<int64_t> age = item.lastUsed ? item.lastUsed : item.modified;
    if (!age || *age < 1 || *age >= cutoff) continue;
    qualifying.push_back(item);
  }
  return outermostItems(std::move(qualifying));
}

std::vector<TrashItem> batch(const std::vector<CleanupItem>& selected, const DiskNode& tree) {
  std::vector<TrashItem> items;
  for (const auto& item : selected) {
    items.push_back({item.path, item.size, TrashItem::Origin::autopilot, ItemIdentity::inScan(tree, item.path)});
  }
  return items;
}

}  // namespace Autopilot
}  // namespace tallyfin
