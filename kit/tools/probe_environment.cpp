#include "kit/tools/probe_environment.h"

namespace tallyfin {

std::vector<std::string> probeEnvironment(const std::string& home, const std::string& toolFolder) {
  const std::string path = "/usr/bin:/bin:/usr/sbin:/sbin";
  return {"PATH=" + (toolFolder.empty() ? path : toolFolder + ":" + path), "HOME=" + home, "LANG=en_US.UTF-8"};
}

}  // namespace tallyfin
