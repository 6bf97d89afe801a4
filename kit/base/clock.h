#pragma once

#include <chrono>

namespace tallyfin {

// Now, in seconds since 1970 with a fraction: the time every record is stamped with.
inline double secondsSinceEpoch() {
  using namespace std::chrono;
  return duration<double>(system_clock::now().time_since_epoch()).count();
}

}  // namespace tallyfin
