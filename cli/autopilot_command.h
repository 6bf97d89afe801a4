#pragma once

#include "cli/options.h"
#include "kit/shell/preferences.h"

namespace tallyfin::cli {

// tallyfin autopilot [off|DAYS]: turns Autopilot off, or on for items unused for
// DAYS, then prints how it stands; returns the exit code.
int setUpAutopilot(const Options& options, const Preferences& preferences);

}  // namespace tallyfin::cli
