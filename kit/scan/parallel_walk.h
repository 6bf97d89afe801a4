#pragma once

// Walks the planned tasks on a pool of threads. Every folder met becomes a small
// job on one shared stack, so idle workers help with whatever task is still big;
// a folder's node is finished by whichever worker completes its last child.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "kit/scan/accumulator.h"
#include "kit/scan/disk_node.h"
#include "kit/scan/project_rules.h"
#include "kit/scan/scan_configuration.h"
#include "kit/scan/scan_progress.h"

namespace tallyfin {

// One folder that planning handed over to be walked as a whole.
struct WalkTask {
  std::string real;     // path on disk
  std::string display;  // path as shown
  int64_t modified = 0;
  std::optional<FileKind> override;
  SiblingMarkers parentMarkers;  // for the project rules
  int64_t parentModified = 0;
};

struct TaskResult {
  DiskNode node;
  double seconds = 0;  // time the workers spent listing the task's folders
};

struct WalkOutcome {
  std::vector<std::optional<TaskResult>> results;  // one slot per task
  std::vector<Accumulator> accumulators;           // one per worker
};

// Runs `tasks`, starting them in the order of `order` (indexes into `tasks`).
WalkOutcome walkInParallel(const std::vector<WalkTask>& tasks, const std::vector<size_t>& order,
                           const ScanConfiguration& configuration, int32_t rootDevice,
                           const CancelToken& cancel, const ProgressCallback& progress,
                           int workerCount);

// The folder's project-junk kind, if any, once its own entries are known.
std::optional<ProjectJunkKind> junkKind(std::string_view display, const SiblingMarkers& parentMarkers,
                                        bool isVenv, const ScanConfiguration& configuration);

}  // namespace tallyfin
