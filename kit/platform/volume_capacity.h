#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tallyfin::platform {

struct VolumeCapacity {
  std::optional<std::string> name;
  int64_t total = 0;
  int64_t available = 0;
  int64_t availableForImportant = 0;
  int64_t used = 0;  // blocks in use, as the file system counts them
};

// Zeros (and no name) for whatever cannot be read.
VolumeCapacity volumeCapacity(const std::string& path);

// Whether this process may open the user's protected folders.
bool hasFullDiskAccess(const std::string& home);

}  // namespace tallyfin::platform
