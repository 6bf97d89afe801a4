#pragma once

#include <cstdint>
#include <string>

namespace tallyfin {

// Bytes a file or a folder tree takes on disk, measured now: allocated sizes,
// hard links once, never across a mount. 0 when the path cannot be looked at.
int64_t measuredSize(const std::string& path, const std::string& home);

}  // namespace tallyfin
