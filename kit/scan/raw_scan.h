#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kit/scan/directory_reader.h"
#include "kit/scan/disk_node.h"
#include "kit/scan/project_rules.h"
#include "kit/scan/scan_configuration.h"
#include "kit/store/file_kind.h"
#include "kit/store/large_file.h"

namespace tallyfin {

// What the scanner hands to the pipeline.
struct RawScan {
  DiskNode tree;
  std::vector<LargeFile> largeFiles;  // largest first
  std::vector<ProjectJunk> projectJunk;
  std::vector<TypeTotal> types;
  int64_t deniedCount = 0;
  std::vector<std::string> deniedSample;
  TimingMap timings;  // seconds per task path, saved for the next scan's planning
  int64_t hardlinkBytesDeduped = 0;
  int taskCount = 0;
  double duration = 0;
};

// Why a scan ended without a result.
struct ScanFailure {
  enum class Reason { cancelled, rootUnreadable };
  Reason reason = Reason::cancelled;
  DirectoryReadError readError;  // for rootUnreadable

  std::string message() const;
};

}  // namespace tallyfin
