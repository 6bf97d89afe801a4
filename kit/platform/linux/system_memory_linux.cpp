#include "kit/platform/system_memory.h"

#include <fstream>
#include <string>

namespace tallyfin::platform {

SystemFamily systemFamily() { return SystemFamily::linux; }

// /proc/meminfo gives SwapTotal and SwapFree in KiB.
std::optional<int64_t> swapUsed() {
  std::ifstream meminfo("/proc/meminfo");
  std::optional<int64_t> total, free;
  std::string key;
  int64_t value = 0;
  std::string unit;
  while (meminfo >> key >> value >> unit) {
    if (key == "SwapTotal:") total = value * 1024;
    if (key == "SwapFree:") free = value * 1024;
  }
  if (!total || !free || *total < *free) return std::nullopt;
  return *total - *free;
}

}  // namespace tallyfin::platform
