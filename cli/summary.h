#pragma once

#include <cstdio>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "kit/report/scan_report.h"
#include "kit/trash/journal.h"

namespace tallyfin::cli {

struct SummaryInput {
  const ScanReport& report;
  const std::set<std::string>& kept;  // hidden from the suggestions and totals
  size_t top;                         // entries per list
  double now;
  std::vector<TrashBatch> movedSinceLastScan = {};  // for the undo hint
  std::string storeArgument = {};                   // " --store DIR" when not the standard folder
};

// The disk_status object with the first suggestions and biggest folders.
nlohmann::json jsonSummary(const SummaryInput& input);

// The same for a person, in 80 columns, ending with what to do next.
std::string textSummary(const SummaryInput& input);

}  // namespace tallyfin::cli
