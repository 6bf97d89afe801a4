#pragma once

// The summary objects that the command line and the MCP server both send, with
// snake-case keys and sizes as whole bytes.

#include <set>
#include <string>

#include <nlohmann/json.hpp>

#include "kit/cleanup/cleanup_item.h"
#include "kit/report/scan_report.h"

namespace tallyfin::AgentJson {

// Disk facts, health and cleanable totals of a saved report at time `now`.
nlohmann::json diskStatus(const ScanReport& report, const std::set<std::string>& kept, double now);

// One cleanup suggestion as assistants and scripts see it.
nlohmann::json suggestionItem(const CleanupItem& item);

}  // namespace tallyfin::AgentJson
