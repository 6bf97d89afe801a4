#include "app/tests/app_home.h"

#include <stdexcept>

#include "tests/support/process.h"

namespace tallyfin::app::testing {

using tallyfin::testing::allocateFile;

AppHome::AppHome() {
  // Big enough for the pruned tree to keep each folder on its own.
  allocateFile(home_ / ".cache/pip/http/blob", 12 << 20);
  allocateFile(home_ / ".npm/_cacache/content/blob", 14 << 20);
  allocateFile(home_ / ".cache/huggingface/hub/models--tiny/blob", 11 << 20);
  allocateFile(home_ / "Videos/holiday.mkv", 110 << 20);
  // The runtime folder children get: the user's alone, as the system makes it.
  tallyfin::testing::makeFolder(home_ / "run");
  tallyfin::testing::setMode(home_ / "run", 0700);
}

AppEnvironment AppHome::environment() const {
  ScanConfiguration configuration = ScanConfiguration::wholeDisk(path());
  configuration.root = path();
  configuration.displayRoot = path();
  return AppEnvironment{path(),
                        store(),
                        Preferences(home_ / ".config/Tallyfin/preferences.json"),
                        configuration,
                        {},
                        systemTrasher(path()),
                        [](Schedule) { return SchedulerState{}; },
                        path(),
                        {home_ / "Applications"},
                        {},
                        {}};
}

std::vector<std::string> AppHome::childEnvironment() const {
  return {"PATH=/usr/bin:/bin", "HOME=" + path(), "XDG_DATA_HOME=" + home_ / ".local/share",
          "XDG_CONFIG_HOME=" + home_ / ".config", "XDG_RUNTIME_DIR=" + home_ / "run"};
}

void AppHome::scanWithCommandLine() const {
  const auto result = tallyfin::testing::runProcess(TALLYFIN_BINARY, {"--root", path(), "--json"}, childEnvironment());
  if (result.exitCode != 0) throw std::runtime_error("tallyfin failed: " + result.err);
}

}  // namespace tallyfin::app::testing
