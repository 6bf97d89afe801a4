#include <syslog.h>

#include <mutex>
#include <string>

#include "kit/platform/system_log.h"

namespace tallyfin::platform {

void systemLog(LogLevel level, std::string_view message) {
  static std::once_flag opened;
  std::call_once(opened, [] { ::openlog("tallyfin", LOG_PID, LOG_USER); });
  const std::string line(message);
  ::syslog(level == LogLevel::error ? LOG_ERR : LOG_INFO, "%s", line.c_str());
}

}  // namespace tallyfin::platform
