#include "kit/agents/history_json.h"

#include <cmath>

#include "kit/agents/json_values.h"
#include "kit/history/trends.h"

namespace tallyfin::AgentJson {

using nlohmann::json;

json diskHistory(const std::vector<HistoryEntry>& history, const std::vector<FolderSample>& samples, double now) {
  json scans = json::array();
  for (const auto& entry : history) {
    scans.push_back({{"date", Format::isoDate(static_cast<int64_t>(std::floor(entry.date)))},
                     {"used", entry.used},
                     {"free", entry.free},
                     {"safe_to_clean", entry.reclaimableSafe}});
  }
  const auto perDay = Trends::growthPerDay(history);
  const auto full = Trends::fullDate(now, history);
  json growing = json::array();
  for (const auto& trend :
       Trends::growingFolders(samples, Trends::kShownMinSamples, Trends::kShownMinDelta, Trends::kShownLimit)) {
    growing.push_back({{"path", trend.path},
                       {"delta", trend.delta},
                       {"per_week", static_cast<int64_t>(std::llround(trend.perWeek))},
                       {"size", trend.series.empty() ? 0 : trend.series.back().size}});
  }
  return {{"scans", std::move(scans)},
          {"growth_per_week_bytes",
           orNull(perDay ? std::optional(static_cast<int64_t>(std::llround(*perDay * 7))) : std::nullopt)},
          {"disk_full_estimate",
           isoDateOrNull(full ? std::optional(static_cast<int64_t>(std::floor(*full))) : std::nullopt)},
          {"growing_folders", std::move(growing)}};
}

}  // namespace tallyfin::AgentJson
