#pragma once

// What every command of the tool shares: exit codes, one-line diagnostics on
// standard error and paths as the user typed them.

#include <string>

#include <optional>
#include <string_view>

#include "kit/report/scan_report.h"
#include "kit/store/store.h"

namespace tallyfin::cli {

namespace exit_code {
enum ExitCode { kOk = 0, kScanFailed = 1, kBusy = 2, kNoReport = 3, kBadArguments = 64 };
}

// "tallyfin: MESSAGE" on standard error.
void diagnose(const std::string& message);

// A command's result on standard output, exactly as given.
void print(const std::string& text);

// The saved report; when there is none, says why on standard error, ending a
// missing or damaged report's sentence with `nextStep` (" — run tallyfin to scan first.").
std::optional<ScanReport> savedReport(const Store& store, std::string_view nextStep);

// A path from the command line as a real absolute path: "~" is the home folder,
// a relative path starts at the working folder, links are resolved when it exists.
std::string givenPath(const std::string& given, const std::string& home);

}  // namespace tallyfin::cli
