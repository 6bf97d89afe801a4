#include "kit/update/installer_handoff.h"

namespace tallyfin {

Status handToInstaller(const DownloadedPackage& package,
                       const platform::PackageInstaller& installer) {
  if (auto intact = package.stillIntact(); !intact) return intact;
  return installer.install(package.path());
}

}  // namespace tallyfin
