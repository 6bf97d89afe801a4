#pragma once

#include <cstdint>
#include <optional>

namespace tallyfin::platform {

// Which table explains this system's disk: the Mac's "System Data" or the parts
// that fill a Linux system disk.
enum class SystemFamily { macOS, linux };
SystemFamily systemFamily();

// Bytes of swap in use; none when the system does not say.
std::optional<int64_t> swapUsed();

}  // namespace tallyfin::platform
