#pragma once

#include <string>

#include "cli/options.h"
#include "kit/shell/preferences.h"

namespace tallyfin::cli {

// tallyfin update [--check [--if-due] | --download] [--feed URL] [--json]: looks for
// a newer signed release and prints its notes, or downloads and verifies it and
// prints how to install it; returns the exit code. It never installs anything.
int updateTallyfin(const Options& options, const Preferences& preferences);

}  // namespace tallyfin::cli
