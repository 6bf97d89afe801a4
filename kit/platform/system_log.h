#pragma once

#include <string_view>

namespace tallyfin::platform {

enum class LogLevel { info, error };

// One line in the system log, under the name "tallyfin".
void systemLog(LogLevel level, std::string_view message);

}  // namespace tallyfin::platform
