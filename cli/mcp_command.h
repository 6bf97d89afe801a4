#pragma once

#include <string>

#include "cli/options.h"
#include "kit/store/store.h"

namespace tallyfin::cli {

// tallyfin mcp: serves assistants over standard input and output until the
// input ends; returns the exit code.
int serveMcp(const Options& options, const Store& store, const std::string& home);

}  // namespace tallyfin::cli
