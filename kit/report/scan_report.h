#pragma once

// report.json: the saved result of the latest scan, which every front end reads.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/expected.h"
#include "kit/cleanup/buckets.h"
#include "kit/cleanup/cleanup_item.h"
#include "kit/cleanup/hotspots.h"
#include "kit/history/history_records.h"
#include "kit/scan/disk_node.h"
#include "kit/store/disk_info.h"
#include "kit/store/file_kind.h"
#include "kit/store/large_file.h"
#include "kit/store/store.h"

namespace tallyfin {

struct ScanReport {
  static constexpr int kCurrentVersion = 1;

  int version = kCurrentVersion;
  double date = 0;
  double duration = 0;
  std::string home;
  DiskInfo disk;
  int64_t scannedBytes = 0;
  int64_t fileCount = 0;
  DiskNode tree;
  std::vector<Bucket> buckets;
  std::vector<Hotspot> hotspots;
  std::vector<CleanupItem> items;
  std::vector<LargeFile> largeFiles;
  std::vector<TypeTotal> types;
  std::optional<ChangeSummary> changes;
  int64_t deniedCount = 0;
  std::vector<std::string> deniedSample;  // the first unreadable folders, sorted
  int taskCount = 0;

  bool operator==(const ScanReport&) const = default;
};

// Compact JSON with sorted keys; the tree keeps its own compact form.
std::string encodeReport(const ScanReport& report);

// Every key but "changes" is required; an unknown kind number anywhere fails.
Expected<ScanReport, std::string> decodeReport(std::string_view text);

// The store's saved report; none when it is missing or does not decode.
std::optional<ScanReport> loadReport(const Store& store);

// The store's saved report, or why there is none: the error's code is ENOENT when
// there is no report yet, EILSEQ when report.json is damaged, EISDIR when it is a
// folder, and EACCES when the data folder is not to be trusted.
Expected<ScanReport, Error> readReport(const Store& store);

}  // namespace tallyfin
