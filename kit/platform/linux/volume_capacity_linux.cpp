#include <sys/statvfs.h>

#include <fstream>
#include <sstream>

#include "kit/platform/mount_points.h"
#include "kit/platform/volume_capacity.h"

namespace tallyfin::platform {
namespace {

// The label of the file system mounted deepest above `path`: its device name, or the
// mount point itself for file systems without a device ("tmpfs" on "/tmp" gives "tmp").
std::optional<std::string> volumeName(const std::string& path) {
  std::ifstream file("/proc/self/mountinfo");
  if (!file) return std::nullopt;
  std::string best, bestSource;
  std::string line;
  while (std::getline(file, line)) {
    const auto points = parseMountInfo(line);
    if (points.empty()) continue;
    const std::string& point = points.front();
    const bool covers = point == "/" || path == point || path.starts_with(point + "/");
    if (!covers || point.size() < best.size()) continue;
    best = point;
    // After the " - " separator come the file system type and its source.
    const size_t separator = line.find(" - ");
    std::istringstream rest(separator == std::string::npos ? "" : line.substr(separator + 3));
    std::string type, source;
    rest >> type >> source;
    bestSource = source.starts_with("/dev/") ? source.substr(5) : "";
  }
  if (best.empty()) return std::nullopt;
  if (!bestSource.empty()) return bestSource;
  if (best == "/") return std::nullopt;
  return best.substr(best.rfind('/') + 1);
}

}  // namespace

// Linux has no purgeable space, so what is available for important use is what is available.
VolumeCapacity volumeCapacity(const std::string& path) {
  VolumeCapacity capacity;
  capacity.name = volumeName(path);
  struct statvfs info;
  if (::statvfs(path.c_str(), &info) != 0) return capacity;
  const auto unit = static_cast<int64_t>(info.f_frsize);
  capacity.total = static_cast<int64_t>(info.f_blocks) * unit;
  capacity.available = static_cast<int64_t>(info.f_bavail) * unit;
  capacity.availableForImportant = capacity.available;
  capacity.used = static_cast<int64_t>(info.f_blocks - info.f_bfree) * unit;
  return capacity;
}

// Linux guards the user's own files with ordinary permissions only.
bool hasFullDiskAccess(const std::string&) { return true; }

}  // namespace tallyfin::platform
