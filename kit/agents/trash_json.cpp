#include "kit/agents/trash_json.h"

#include <cmath>

#include "kit/history/autopilot.h"
#include "kit/store/format.h"

namespace tallyfin::AgentJson {

using nlohmann::json;

std::string_view batchOrigin(const TrashBatch& batch) {
  const auto label = batch.label();
  if (label == kAgentBatchLabel) return "agent";
  if (label == Autopilot::kBatchLabel) return "autopilot";
  return "app";
}

json trashBatches(const std::vector<TrashBatch>& batches, const TrashService& trash) {
  json list = json::array();
  for (const auto& batch : batches) {
    json items = json::array();
    for (const auto& entry : batch.entries) {
      items.push_back({{"path", entry.path},
                       {"size", entry.size},
                       {"trashed_path", entry.trashedPath},
                       {"in_trash", trash.isInTrash(entry)}});
    }
    list.push_back({{"id", batch.id},
                    {"date", Format::isoDate(static_cast<int64_t>(std::floor(batch.date)))},
                    {"origin", batchOrigin(batch)},
                    {"label", batch.label() ? json(*batch.label()) : json(nullptr)},
                    {"item_count", batch.entries.size()},
                    {"bytes", batch.size},
                    {"items", std::move(items)}});
  }
  return {{"batches", std::move(list)}};
}

json undoResult(const std::string& batch, const UndoOutcome& outcome) {
  json notRestored = json::array();
  for (const auto& [path, reason] : outcome.failed) notRestored.push_back({{"path", path}, {"reason", reason}});
  json result = {{"batch", batch}, {"restored", outcome.restored}, {"not_restored", std::move(notRestored)}};
  if (outcome.journalNote) result["journal_note"] = *outcome.journalNote;
  return result;
}

}  // namespace tallyfin::AgentJson
