#include "kit/store/disk_info.h"

#include <algorithm>

#include <nlohmann/json.hpp>

#include "kit/platform/volume_capacity.h"

namespace tallyfin {

int64_t DiskInfo::purgeable() const { return std::max<int64_t>(availableForImportant - free, 0); }

void to_json(nlohmann::json& json, const DiskInfo& info) {
  json = nlohmann::json{{"volumeName", info.volumeName},
                        {"total", info.total},
                        {"free", info.free},
                        {"availableForImportant", info.availableForImportant},
                        {"dataVolumeUsed", info.dataVolumeUsed},
                        {"fullDiskAccess", info.fullDiskAccess}};
}

void from_json(const nlohmann::json& json, DiskInfo& info) {
  info.volumeName = json.at("volumeName").get<std::string>();
  info.total = json.at("total").get<int64_t>();
  info.free = json.at("free").get<int64_t>();
  info.availableForImportant = json.at("availableForImportant").get<int64_t>();
  info.dataVolumeUsed = json.at("dataVolumeUsed").get<int64_t>();
  info.fullDiskAccess = json.at("fullDiskAccess").get<bool>();
}

std::optional<DiskHealth> diskHealth(const DiskInfo& info) {
  if (info.total < 1) return std::nullopt;
  const double freeFraction = static_cast<double>(info.free) / static_cast<double>(info.total);
  if (freeFraction > 0.2) return DiskHealth::healthy;
  if (freeFraction > 0.1) return DiskHealth::gettingFull;
  return DiskHealth::critical;
}

std::string_view healthText(DiskHealth health) {
  switch (health) {
    case DiskHealth::healthy: return "healthy";
    case DiskHealth::gettingFull: return "getting-full";
    case DiskHealth::critical: return "critical";
  }
  return "";
}

std::string_view healthLabel(DiskHealth health) {
  switch (health) {
    case DiskHealth::healthy: return "Healthy";
    case DiskHealth::gettingFull: return "Getting full";
    case DiskHealth::critical: return "Critical";
  }
  return "";
}

std::string_view healthExplanation(DiskHealth health) {
  switch (health) {
    case DiskHealth::healthy: return "";
    case DiskHealth::gettingFull:
      return "Less than 20% free \u2014 macOS slows down as the disk fills.";
    case DiskHealth::critical:
      return "Less than 10% free \u2014 updates and apps may start failing.";
  }
  return "";
}

int percentUsed(const DiskInfo& info) {
  const double total = static_cast<double>(std::max<int64_t>(info.total, 1));
  return static_cast<int>((1.0 - static_cast<double>(info.free) / total) * 100);
}

DiskInfo diskInfo(const std::string& home, const std::string& root) {
  const auto capacity = platform::volumeCapacity(root);
  DiskInfo info;
  info.volumeName = capacity.name.value_or("Macintosh HD");
  info.total = capacity.total;
  info.free = capacity.available;
  info.availableForImportant = capacity.availableForImportant;
  info.dataVolumeUsed = capacity.used;
  info.fullDiskAccess = hasFullDiskAccess(home);
  return info;
}

bool hasFullDiskAccess(const std::string& home) { return platform::hasFullDiskAccess(home); }

}  // namespace tallyfin
