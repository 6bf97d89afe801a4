#pragma once

// Planning: the caller's thread lists the top of the tree itself and cuts it into
// walk tasks, splitting finer where the last scan was slow.

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/scan/accumulator.h"
#include "kit/scan/directory_reader.h"
#include "kit/scan/folder_listing.h"
#include "kit/scan/parallel_walk.h"

namespace tallyfin {

// One folder that planning listed itself.
struct Skeleton {
  struct Child {
    uint32_t order = 0;                // position in the folder's listing
    std::optional<size_t> task;        // walked as this task...
    std::unique_ptr<Skeleton> split;   // ...or planned further
  };

  std::string display;
  int64_t modified = 0;
  int64_t fileBytes = 0;
  int64_t fileCount = 0;
  std::vector<OrderedNode> fileNodes;
  std::vector<Child> children;
  bool isVenv = false;
  bool unreadable = false;
  int readError = 0;  // errno of the failed listing, when unreadable
  std::optional<ProjectJunkKind> junk;
  int64_t parentModified = 0;
};

struct Plan {
  std::unique_ptr<Skeleton> root;
  std::vector<WalkTask> tasks;
  std::vector<std::string> splits;  // display paths planned further
};

// Plans from the root, whose metadata the caller already read.
Plan planScan(const ScanConfiguration& configuration, int32_t rootDevice, int64_t rootModified,
              DirectoryReader& reader, Accumulator& accumulator);

// Task indexes ordered by last time's duration, slowest first; 0.05 s without one.
std::vector<size_t> slowestFirst(const std::vector<WalkTask>& tasks, const TimingMap& previous);

// Builds the tree from the skeletons and the task results, bottom up.
DiskNode finalizePlan(const Skeleton& skeleton, std::vector<std::optional<TaskResult>>& results,
                      const ScanConfiguration& configuration, Accumulator& accumulator);

}  // namespace tallyfin
