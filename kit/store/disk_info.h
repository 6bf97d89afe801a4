#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace tallyfin {

struct DiskInfo {
  std::string volumeName;
  int64_t total = 0;
  int64_t free = 0;
  int64_t availableForImportant = 0;  // includes space the system can purge
  int64_t dataVolumeUsed = 0;
  bool fullDiskAccess = false;

  // Blocks in use as the file system counts them (df's "Used"); total − free for a
  // report whose volume did not say.
  int64_t used() const;
  // What the user can fill: used + free. Less than the total where the file system
  // keeps blocks back for root, which are neither used nor free to the user.
  int64_t usable() const;
  int64_t purgeable() const;
  bool operator==(const DiskInfo&) const = default;
};

void to_json(nlohmann::json& json, const DiskInfo& info);
void from_json(const nlohmann::json& json, DiskInfo& info);

enum class DiskHealth { healthy, gettingFull, critical };

// None for a disk of unknown size; otherwise by the share of the usable space
// that is free: above 0.2 healthy, above 0.1 getting full, else critical.
std::optional<DiskHealth> diskHealth(const DiskInfo& info);
// "healthy", "getting-full" or "critical".
std::string_view healthText(DiskHealth health);
// "Healthy", "Getting full" or "Critical".
std::string_view healthLabel(DiskHealth health);
// Why the disk is not healthy, naming this system; empty when it is.
std::string healthExplanation(DiskHealth health);
// The used share of the usable space as a whole percentage, rounded up as df does.
int percentUsed(const DiskInfo& info);

// The facts of the volume that holds `root`.
DiskInfo diskInfo(const std::string& home, const std::string& root);

// Whether protected personal folders can be opened; the platform decides.
bool hasFullDiskAccess(const std::string& home);

}  // namespace tallyfin
