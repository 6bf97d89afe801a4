#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "kit/scan/scan_configuration.h"

namespace tallyfin::MountTable {

// The mount point of the writable data volume on the system the rules were written for.
inline constexpr std::string_view dataVolume = "/System/Volumes/Data";

// The normalised mount points of the running system.
PathSet current();

// Every mount point but "/" and the data volume, plus each one as reached through
// the data volume.
PathSet normalize(const std::vector<std::string>& mountPoints);

}  // namespace tallyfin::MountTable
