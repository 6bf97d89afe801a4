#pragma once

#include <string>

#include "cli/options.h"

namespace tallyfin::cli {

// tallyfin --apps: the installed apps, and what removed apps left behind;
// returns the exit code. Nothing is moved from here.
int listApps(const Options& options, const std::string& home);

}  // namespace tallyfin::cli
