#pragma once

// The Trash journal's batches and an undo's outcome as the MCP server and the
// command line both report them, with snake-case keys.

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "kit/trash/trash_service.h"

namespace tallyfin::AgentJson {

// The label of the batches an assistant moved through the MCP server.
inline constexpr std::string_view kAgentBatchLabel = "AI agent";

// Who moved a batch, from its label: "agent", "autopilot" or "app".
std::string_view batchOrigin(const TrashBatch& batch);

// {"batches": [...]}: each batch with its items and whether each is still in the Trash.
nlohmann::json trashBatches(const std::vector<TrashBatch>& batches, const TrashService& trash);

// What came back from the Trash and why the rest did not.
nlohmann::json undoResult(const std::string& batch, const UndoOutcome& outcome);

}  // namespace tallyfin::AgentJson
