#pragma once

#include "kit/base/error.h"
#include "kit/platform/package_installer.h"
#include "kit/update/package_download.h"

namespace tallyfin {

// Hands a verified download to the system's installer, once its bytes are checked
// again to be the verified ones; the user's own "install" is the only caller.
Status handToInstaller(const DownloadedPackage& package,
                       const platform::PackageInstaller& installer);

}  // namespace tallyfin
