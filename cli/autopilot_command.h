#pragma once

#include "cli/options.h"
#include "kit/shell/preferences.h"

namespace tallyfin::cli {

inline constexpr int kFewestAutopilotDays = 14;  // two weeks
inline constexpr int kMostAutopilotDays = 90;    // three months

// tallyfin autopilot [off|DAYS]: turns Autopilot off, or on for items unused for
// DAYS, then prints how it stands; returns the exit code.
int setUpAutopilot(const Options& options, const Preferences& preferences);

}  // namespace tallyfin::cli
