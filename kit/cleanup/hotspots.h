#pragma once

// Concrete big folders and files, the places worth a look first.

#include <cstdint>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "kit/scan/disk_node.h"

namespace tallyfin {

struct Hotspot {
  std::string path;
  int64_t size = 0;
  bool isFile = false;
  bool operator==(const Hotspot&) const = default;
};

void to_json(nlohmann::json& json, const Hotspot& hotspot);
void from_json(const nlohmann::json& json, Hotspot& hotspot);

namespace Analysis {

inline constexpr int64_t kHotspotMinimum = 1'073'741'824;  // 1 GiB
inline constexpr size_t kHotspotLimit = 15;

// At most `limit` places of at least `minimum` bytes, largest first.
//
// A hotspot must be something a person can act on. Folders that only group
// other things (/, /home, /usr, the home folder, ~/Library, ~/.cache, ~/.local/share
// and the like) are never listed: the walk goes through them. A big folder whose
// weight sits mostly (more than half) in one sub-folder is not listed either; that
// sub-folder is looked at instead, so the list names the concrete place. Everything
// else of the size is listed and not descended further.
std::vector<Hotspot> hotspots(const DiskNode& tree, const std::string& home,
                              int64_t minimum = kHotspotMinimum, size_t limit = kHotspotLimit);

}  // namespace Analysis
}  // namespace tallyfin
