#include "kit/agents/disk_status.h"

#include <cmath>

#include "kit/cleanup/cleanup_totals.h"
#include "kit/store/disk_info.h"
#include "kit/store/format.h"

namespace tallyfin::AgentJson {

nlohmann::json diskStatus(const ScanReport& report, const std::set<std::string>& kept, double now) {
  const CleanupTotals totals = cleanupTotals(report.items, kept);
  const auto health = diskHealth(report.disk);
  nlohmann::json areas = nlohmann::json::array();
  for (const auto& bucket : report.buckets) {
    areas.push_back({{"area", bucket.label}, {"size", bucket.size}});
  }
  const auto scannedAt = static_cast<int64_t>(std::floor(report.date));
  return {
      {"scanned_at", scannedAt},
      {"scan_age_hours", static_cast<int64_t>(std::max(0.0, now - report.date) / 3600)},
      {"disk",
       {{"total", report.disk.total},
        {"used", report.disk.used()},
        {"free", report.disk.free},
        {"purgeable", report.disk.purgeable()},
        {"percent_used", percentUsed(report.disk)},
        {"health", health ? std::string(healthText(*health)) : std::string("unknown")}}},
      {"safe_to_clean_bytes", totals.safe},
      {"worth_reviewing_bytes", totals.review},
      {"full_disk_access", report.disk.fullDiskAccess},
      {"biggest_areas", areas},
  };
}

nlohmann::json suggestionItem(const CleanupItem& item) {
  nlohmann::json json = {{"path", item.path},         {"title", item.title},
                         {"category", label(item.category)}, {"safety", item.safety},
                         {"size", item.size},         {"trashable", item.trashable}};
  if (item.command) json["command"] = *item.command;
  if (!item.detail.empty()) json["detail"] = item.detail;
  if (item.lastUsed) json["last_used"] = Format::isoDate(*item.lastUsed);
  if (item.project) json["project"] = *item.project;
  return json;
}

}  // namespace tallyfin::AgentJson
