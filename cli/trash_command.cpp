#include "cli/trash_command.h"

#include <cmath>
#include <ctime>

#include "cli/command_support.h"
#include "cli/text_layout.h"
#include "kit/agents/trash_json.h"
#include "kit/base/clock.h"
#include "kit/store/format.h"
#include "kit/trash/trash_service.h"
#include "kit/platform/trasher.h"

namespace tallyfin::cli {
namespace {

using namespace exit_code;

constexpr double kEveryBatch = 3'650;  // days: all the journal keeps

TrashService trashService(const Store& store, const std::string& home) {
  return TrashService(home, store, systemTrasher(home));
}

std::string localTime(double date) {
  const auto seconds = static_cast<std::time_t>(std::floor(date));
  std::tm local{};
  ::localtime_r(&seconds, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &local);
  return text;
}

std::string counted(size_t count, const char* one, const char* many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

std::string batchText(const std::vector<TrashBatch>& batches, const TrashService& trash, const std::string& home) {
  if (batches.empty()) return "Nothing moved to the Trash is recorded \u2014 there is nothing to undo.\n";
  std::string out;
  const auto line = [&out](std::string_view text) { out += fitWidth(terminalSafe(text), 80) + "\n"; };
  for (const auto& batch : batches) {
    line(batch.id + "  " + localTime(batch.date) + "  " + std::string(AgentJson::batchOrigin(batch)) + "  " +
         counted(batch.entries.size(), "item", "items") + "  " + Format::bytes(batch.size));
    for (const auto& entry : batch.entries) {
      line(std::string(trash.isInTrash(entry) ? "  in the Trash  " : "  not there     ") +
           Format::shortPath(entry.path, home) + "  " + Format::bytes(entry.size));
    }
  }
  return out;
}

}  // namespace

int listTrash(const Options& options, const Store& store, const std::string& home) {
  const TrashService trash = trashService(store, home);
  const auto batches = trash.batches(kEveryBatch, secondsSinceEpoch());
  print(options.json ? AgentJson::trashBatches(batches, trash).dump(2) + "\n" : batchText(batches, trash, home));
  return kOk;
}

int undoTrash(const Options& options, const Store& store, const std::string& home) {
  const TrashService trash = trashService(store, home);
  const auto batch = trash.batchToUndo(options.batch, secondsSinceEpoch());
  if (!batch) {
    diagnose(options.batch ? "No batch " + *options.batch + " in the Trash journal \u2014 tallyfin trash lists them."
                           : std::string("Nothing to undo \u2014 the Trash journal has no batches."));
    return kScanFailed;
  }
  const UndoOutcome outcome = trash.undo(batch->id);
  if (outcome.journalNote) diagnose(*outcome.journalNote);
  if (options.json) {
    print(AgentJson::undoResult(batch->id, outcome).dump(2) + "\n");
  } else {
    std::string out;
    for (const auto& path : outcome.restored) out += terminalSafe("Put back " + Format::shortPath(path, home)) + "\n";
    for (const auto& [path, reason] : outcome.failed) {
      out += terminalSafe("Not put back " + Format::shortPath(path, home) + " \u2014 " + reason) + "\n";
    }
    print(out);
  }
  return outcome.failed.empty() ? kOk : kScanFailed;
}

}  // namespace tallyfin::cli
