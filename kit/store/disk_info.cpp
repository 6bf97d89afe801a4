#include "kit/store/disk_info.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <nlohmann/json.hpp>

#include "kit/base/saturating.h"
#include "kit/platform/system_words.h"
#include "kit/platform/volume_capacity.h"

namespace tallyfin {

int64_t DiskInfo::used() const { return dataVolumeUsed > 0 ? dataVolumeUsed : std::max<int64_t>(total - free, 0); }

int64_t DiskInfo::usable() const { return saturatingAdd(used(), std::max<int64_t>(free, 0)); }

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
  const double freeFraction =
      static_cast<double>(info.free) / static_cast<double>(std::max<int64_t>(info.usable(), 1));
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

std::string healthExplanation(DiskHealth health) {
  switch (health) {
    case DiskHealth::healthy: return "";
    case DiskHealth::gettingFull:
      return "Less than 20% free \u2014 " + std::string(platform::systemName()) + " slows down as the disk fills.";
    case DiskHealth::critical:
      return "Less than 10% free \u2014 updates and apps may start failing.";
  }
  return "";
}

int percentUsed(const DiskInfo& info) {
  const int64_t used = info.used();
  const int64_t usable = info.usable();
  if (usable < 1) return 0;
  // In whole numbers where they fit, so a disk df calls 41% is 41% here too.
  if (used <= std::numeric_limits<int64_t>::max() / 100) {
    return static_cast<int>(used * 100 / usable + (used * 100 % usable != 0 ? 1 : 0));
  }
  return static_cast<int>(std::ceil(static_cast<double>(used) * 100 / static_cast<double>(usable)));
}

DiskInfo diskInfo(const std::string& home, const std::string& root) {
  const auto capacity = platform::volumeCapacity(root);
  DiskInfo info;
  info.volumeName = capacity.name.value_or(std::string(platform::systemDiskName()));
  info.total = capacity.total;
  info.free = capacity.available;
  info.availableForImportant = capacity.availableForImportant;
  info.dataVolumeUsed = capacity.used;
  info.fullDiskAccess = hasFullDiskAccess(home);
  return info;
}

bool hasFullDiskAccess(const std::string& home) { return platform::hasFullDiskAccess(home); }

}  // namespace tallyfin
