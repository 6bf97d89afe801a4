#pragma once

#include <string>

#include "cli/options.h"
#include "kit/store/store.h"

namespace tallyfin::cli {

// tallyfin history [--json] [--top N]: the scans of history.json with the change
// from each to the next, a sparkline of used space on a terminal, the growth and
// full-disk forecast in a sentence, what changed since the previous scan and the
// folders that keep growing. Exit 3 when no scan was recorded.
int showHistory(const Options& options, const Store& store, const std::string& home);

}  // namespace tallyfin::cli
