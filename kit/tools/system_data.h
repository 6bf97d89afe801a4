#pragma once

// What the opaque system share of the disk consists of: named parts, each with
// a size where one can be measured, a plain explanation and what the user can do.
// Nothing is cleaned here; actions are commands to copy or places to look.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/cleanup/cleanup_item.h"
#include "kit/report/scan_report.h"

namespace tallyfin {

struct SystemDataPart {
  enum class ActionKind { command, cleanup, manual, automatic, none };
  struct Action {
    ActionKind kind = ActionKind::none;
    std::string text;                          // the command, or where to do it by hand
    std::optional<CleanupCategory> category;  // for a cleanup
  };

  std::string id;
  std::string title;
  std::string detail;
  std::string symbol;
  std::optional<int64_t> size;
  std::optional<std::string> note;
  Action action;
  std::optional<int> count;  // how many there are, where the parts are counted rather than measured
};

namespace SystemDataScanner {

inline constexpr double kSnapshotTimeoutSeconds = 10;
inline constexpr const char* kTmutil = "/usr/bin/tmutil";

// Lines of `tmutil listlocalsnapshots /` that name a Time Machine snapshot.
int countSnapshots(std::string_view output);
// Asks tmutil, where it exists; none when it is missing, fails or hangs.
std::optional<int> localSnapshotCount(const std::string& home, const std::string& tmutil = kTmutil,
                                      double timeoutSeconds = kSnapshotTimeoutSeconds);

// The Mac's parts, from the saved report and the two live figures.
std::vector<SystemDataPart> parts(const ScanReport& report, const std::string& home,
                                  std::optional<int> snapshotCount, std::optional<int64_t> swapUsed);

// What fills a Linux system disk, from the saved report and the swap in use.
std::vector<SystemDataPart> linuxParts(const ScanReport& report, std::optional<int64_t> swapUsed);

// The table of the running system, with its live probes.
std::vector<SystemDataPart> forThisSystem(const ScanReport& report, const std::string& home);

}  // namespace SystemDataScanner
}  // namespace tallyfin
