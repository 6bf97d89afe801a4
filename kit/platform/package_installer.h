#pragma once

// Where downloaded releases wait, and the system's package installer they are
// handed to. On Linux: Tallyfin in the user's cache folder, and apt-get under
// pkexec (which asks for the user's password) or else the desktop's software
// installer through xdg-open. Nothing is installed unless the user asks, and
// nothing of the download is ever run by Tallyfin itself.

#include <string>
#include <vector>

#include "kit/base/error.h"

namespace tallyfin::platform {

// ${XDG_CACHE_HOME:-~/.cache}/Tallyfin.
std::string downloadFolder();

class PackageInstaller {
 public:
  struct Setup {
    std::string pkexec;                    // empty when there is none
    std::string aptGet;                    // empty when there is none
    std::string xdgOpen;                   // empty when there is none
    std::vector<std::string> environment;  // for the installer ("NAME=value")
    double timeoutSeconds = 3'600;         // the user may take a while to answer
  };

  // This system's programs, with the desktop session's variables passed on.
  static Setup forThisUser();

  explicit PackageInstaller(Setup setup) : setup_(std::move(setup)) {}

  // What a person types in a terminal to install `package`, quoted for the shell.
  static std::string terminalCommand(const std::string& package);

  // Hands `package` to the installer, which asks the user before it installs;
  // returns once the installer has finished.
  Status install(const std::string& package) const;

 private:
  Setup setup_;
};

}  // namespace tallyfin::platform
