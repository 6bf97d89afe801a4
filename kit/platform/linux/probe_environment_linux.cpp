#include "kit/platform/probe_environment.h"

#include <unistd.h>

namespace tallyfin {

std::vector<std::string> probeEnvironment(const std::string& home, const std::string& toolFolder) {
  const std::string path = "/usr/bin:/bin:/usr/sbin:/sbin";
  return {"PATH=" + (toolFolder.empty() ? path : toolFolder + ":" + path), "HOME=" + home, "LANG=en_US.UTF-8"};
}

std::optional<std::string> firstExecutable(const std::vector<std::string>& places) {
  for (const auto& path : places) {
    if (::access(path.c_str(), X_OK) == 0) return path;
  }
  return std::nullopt;
}

}  // namespace tallyfin
