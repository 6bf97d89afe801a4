#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tallyfin::platform {

// The paths where file systems are mounted, raw bytes as the system reports them;
// empty when the mount list cannot be read.
std::vector<std::string> mountPoints();

// Mount points from the text of /proc/self/mountinfo (octal escapes such as \040 decoded).
std::vector<std::string> parseMountInfo(std::string_view text);

}  // namespace tallyfin::platform
