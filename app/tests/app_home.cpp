#include "app/tests/app_home.h"

#include <unistd.h>

#include <stdexcept>

#include "tests/support/process.h"

namespace tallyfin::app::testing {
namespace {

constexpr const char* kSystemctl = "/usr/bin/systemctl";

}  // namespace

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

platform::LaunchAgents::Setup AppHome::agents() const {
  platform::LaunchAgents::Setup setup;
  setup.unitFolder = home_ / ".config/systemd/user";
  setup.executable = TALLYFIN_APP_BINARY;
  if (::access(kSystemctl, X_OK) == 0) setup.systemctl = kSystemctl;
  setup.environment = childEnvironment();
  setup.environment.push_back("LC_ALL=C");
  return setup;
}

AppEnvironment AppHome::environment() const {
  const Scheduler scheduler{platform::LaunchAgents(agents())};
  ScanConfiguration configuration = ScanConfiguration::wholeDisk(path());
  configuration.root = path();
  configuration.displayRoot = path();
  return AppEnvironment{path(),
                        store(),
                        Preferences(home_ / ".config/Tallyfin/preferences.json"),
                        configuration,
                        {},
                        systemTrasher(path()),
                        [scheduler](Schedule schedule) { return scheduler.state(schedule); },
                        [scheduler](Schedule schedule) { return scheduler.apply(schedule); },
                        path(),
                        {home_ / "Applications"},
                        {},
                        {},
                        TALLYFIN_BINARY,
                        std::nullopt,
                        home_ / ".cache/Tallyfin"};
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
