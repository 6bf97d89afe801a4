#include "kit/scan/mount_table.h"

#include "kit/base/utf8.h"
#include "kit/platform/mount_points.h"

namespace tallyfin::MountTable {

PathSet current() {
  const auto points = platform::mountPoints();
  if (points.empty()) {
    return {std::string(dataVolume) + "/home", std::string(dataVolume) + "/Volumes"};
  }
  std::vector<std::string> repaired;
  repaired.reserve(points.size());
  for (const auto& point : points) repaired.push_back(repairedUtf8(point));
  return normalize(repaired);
}

PathSet normalize(const std::vector<std::string>& mountPoints) {
  const std::string dataPrefix = std::string(dataVolume) + "/";
  PathSet result;
  for (const auto& point : mountPoints) {
    if (point == "/" || point == dataVolume) continue;
    result.insert(point);
    if (!point.starts_with(dataPrefix)) result.insert(std::string(dataVolume) + point);
  }
  return result;
}

}  // namespace tallyfin::MountTable
