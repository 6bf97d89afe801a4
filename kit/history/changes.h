#pragma once

#include <optional>
#include <string>
#include <vector>

#include "kit/history/history_records.h"
#include "kit/scan/disk_node.h"

namespace tallyfin::Analysis {

inline constexpr int64_t kSnapshotMinimum = 104'857'600;  // 100 MiB
inline constexpr int kSnapshotDepth = 8;
inline constexpr size_t kChangeLimit = 50;
inline constexpr int64_t kFolderSampleMinimum = 104'857'600;
inline constexpr size_t kFolderSampleLimit = 300;

// Folder sizes of the tree by full path, from "/" at depth 0 down to `maxDepth`.
Snapshot snapshot(const DiskNode& tree, double date, int64_t used,
                  std::vector<std::string> unreadable, int64_t minimum = kSnapshotMinimum,
                  int maxDepth = kSnapshotDepth);

// What changed between two snapshots, biggest changes first (at most `limit`);
// folders whose size did not move are left out.
ChangeSummary changes(const Snapshot& previous, const Snapshot& current,
                      size_t limit = kChangeLimit);

// The growth that explains the most: the biggest growing folder, then, while one
// folder inside it accounts for three quarters of its growth, that folder.
std::optional<Change> topGrowth(const ChangeSummary& summary);

// The biggest folders of one scan, at least `minimum` bytes, at most `limit` of them.
FolderSample folderSample(double date, const Snapshot& snapshot,
                          int64_t minimum = kFolderSampleMinimum,
                          size_t limit = kFolderSampleLimit);

}  // namespace tallyfin::Analysis
