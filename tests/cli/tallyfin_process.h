#pragma once

// The built tallyfin, run as a process in a fake home: HOME, the XDG folders (and
// so the data folder and the Trash) all inside the test's temp folder.

#include <string>
#include <vector>

#include "tests/support/process.h"

namespace tallyfin::testing {

// The environment of a run in `home`: HOME and XDG_DATA_HOME/XDG_CONFIG_HOME under it, UTC.
std::vector<std::string> homeEnvironment(const std::string& home);

ProcessResult runTallyfin(const std::vector<std::string>& arguments, const std::string& home);

// `script` run by /bin/sh in the same environment, for pipes into a tool.
ProcessResult runShell(const std::string& script, const std::string& home);

}  // namespace tallyfin::testing
