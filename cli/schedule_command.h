#pragma once

#include "cli/options.h"
#include "kit/shell/preferences.h"
#include "kit/shell/scheduler.h"

namespace tallyfin::cli {

// tallyfin schedule [off|daily|weekly]: sets the scheduled scan when given one,
// then prints the schedule and how it stands; returns the exit code.
int scheduleScans(const Options& options, const Preferences& preferences, const Scheduler& scheduler);

}  // namespace tallyfin::cli
