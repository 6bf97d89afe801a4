#include "tests/cli/tallyfin_process.h"

namespace tallyfin::testing {

std::vector<std::string> homeEnvironment(const std::string& home) {
  return {"HOME=" + home, "XDG_DATA_HOME=" + home + "/.local/share", "XDG_CONFIG_HOME=" + home + "/.config",
          "PATH=/usr/bin:/bin:/usr/sbin:/sbin", "LANG=C.UTF-8", "TZ=UTC"};
}

ProcessResult runTallyfin(const std::vector<std::string>& arguments, const std::string& home) {
  return runProcess(TALLYFIN_BINARY, arguments, homeEnvironment(home));
}

ProcessResult runShell(const std::string& script, const std::string& home) {
  return runProcess("/bin/sh", {"-c", script}, homeEnvironment(home));
}

}  // namespace tallyfin::testing
