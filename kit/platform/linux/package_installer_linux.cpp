#include <cstdlib>

#include "kit/base/text.h"
#include "kit/platform/package_installer.h"
#include "kit/platform/user_folders.h"
#include "kit/platform/probe_environment.h"
#include "kit/platform/spawned.h"

namespace tallyfin::platform {
namespace {

// pkexec's answers when the user dismissed the password dialog or was not allowed.
constexpr int kDismissed = 126;
constexpr int kNotAuthorised = 127;

}  // namespace

std::string downloadFolder() {
  if (const char* cache = std::getenv("XDG_CACHE_HOME"); cache && *cache == '/')
    return std::string(cache) + "/Tallyfin";
  return homeFolder() + "/.cache/Tallyfin";
}

PackageInstaller::Setup PackageInstaller::forThisUser() {
  Setup setup;
  setup.pkexec = firstExecutable({"/usr/bin/pkexec"}).value_or("");
  setup.aptGet = firstExecutable({"/usr/bin/apt-get"}).value_or("");
  setup.xdgOpen = firstExecutable({"/usr/bin/xdg-open"}).value_or("");
  setup.environment = probeEnvironment(homeFolder());
  // The password dialog and the software installer belong to the user's session.
  for (const char* name : {"DISPLAY", "WAYLAND_DISPLAY", "XDG_RUNTIME_DIR",
                           "DBUS_SESSION_BUS_ADDRESS", "XDG_CURRENT_DESKTOP", "XAUTHORITY"}) {
    if (const char* value = std::getenv(name))
      setup.environment.push_back(std::string(name) + "=" + value);
  }
  return setup;
}

std::string PackageInstaller::terminalCommand(const std::string& package) {
  return "pkexec apt-get install " + shellQuoted(package);
}

Status PackageInstaller::install(const std::string& package) const {
  std::string program;
  std::vector<std::string> arguments;
  if (!setup_.pkexec.empty() && !setup_.aptGet.empty()) {
    // The password dialog is the user's yes; apt-get may add what the package
    // needs but never removes anything for it.
    program = setup_.pkexec;
    arguments = {setup_.aptGet, "install", "--yes", "--no-remove", package};
  } else if (!setup_.xdgOpen.empty()) {
    program = setup_.xdgOpen;
    arguments = {package};
  } else {
    return fail(Error{"No package installer was found — install " + package +
                      " from a terminal with: " + terminalCommand(package)});
  }
  const ToolRun run = runTool(program, arguments, setup_.environment, setup_.timeoutSeconds);
  if (run.succeeded()) return ok();
  if (run.status == kDismissed || run.status == kNotAuthorised) {
    return fail(
        Error{"The installation of " + package + " was cancelled — nothing was installed."});
  }
  return fail(Error{"The package installer did not finish installing " + package +
                    " — install it from a terminal with: " + terminalCommand(package)});
}

}  // namespace tallyfin::platform
