#pragma once

// The report a disk-map benchmark lays out: the report.json that
// TALLYFIN_MAP_REPORT names (a scan of the 1,000,000-file fixture, say); none
// when the variable is unset or the file can't be read.

#include <cstdlib>
#include <memory>
#include <optional>

#include "kit/base/small_file.h"
#include "kit/report/scan_report.h"
#include "kit/store/store.h"

namespace tallyfin::bench {

inline const std::shared_ptr<const ScanReport>& savedReport() {
  static const std::shared_ptr<const ScanReport> report = []() -> std::shared_ptr<const ScanReport> {
    const char* path = std::getenv("TALLYFIN_MAP_REPORT");
    if (!path) return nullptr;
    const auto text = readSmallFile(path, Store::kLargestLoad);
    if (!text) return nullptr;
    auto decoded = decodeReport(*text);
    if (!decoded.ok()) return nullptr;
    return std::make_shared<const ScanReport>(std::move(decoded).value());
  }();
  return report;
}

}  // namespace tallyfin::bench
