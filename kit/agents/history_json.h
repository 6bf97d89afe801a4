#pragma once

// The scan history as the MCP server's disk_history and `tallyfin history --json`
// both report it, with snake-case keys.

#include <vector>

#include <nlohmann/json.hpp>

#include "kit/history/history_records.h"

namespace tallyfin::AgentJson {

// The scans, the growth per week, the full-disk forecast at `now` and the growing folders.
nlohmann::json diskHistory(const std::vector<HistoryEntry>& history, const std::vector<FolderSample>& samples,
                           double now);

}  // namespace tallyfin::AgentJson
