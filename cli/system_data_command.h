#pragma once

#include <string>

#include "cli/options.h"
#include "kit/store/store.h"

namespace tallyfin::cli {

// tallyfin --system-data: what fills the system's share of the disk, from the
// saved report; returns the exit code.
int explainSystemData(const Options& options, const Store& store, const std::string& home);

}  // namespace tallyfin::cli
