#include "app/model/trash_coordinator.h"

#include <algorithm>

#include "app/model/off_main_thread.h"
#include "kit/base/clock.h"
#include "kit/store/format.h"

namespace tallyfin::app {

std::string itemCount(size_t count) { return std::to_string(count) + (count == 1 ? " item" : " items"); }

TrashCoordinator::TrashCoordinator(std::string home, TrashService service, QObject* parent)
    : QObject(parent), home_(std::move(home)), service_(std::move(service)) {}

void TrashCoordinator::apply(std::vector<TrashBatch> batches) {
  ++readSerial_;
  allBatches_ = std::move(batches);
  batches_.assign(allBatches_.begin(), allBatches_.begin() + std::min(allBatches_.size(), kRecentBatches));
  emit batchesChanged();
}

std::set<std::string> TrashCoordinator::movedSince(double date) const {
  std::set<std::string> moved;
  for (const auto& batch : allBatches_) {
    for (const auto& entry : batch.entries) {
      if (entry.date >= date) moved.insert(entry.path);
    }
  }
  return moved;
}

void TrashCoordinator::refresh() {
  const auto since = reportDate ? reportDate() : std::nullopt;
  std::set<std::string> removed = since ? movedSince(*since) : std::set<std::string>{};
  if (removed == removed_) return;
  removed_ = std::move(removed);
  if (onRemovedChange) onRemovedChange();
}

void TrashCoordinator::clear() {
  lastOutcome_.reset();
  removed_.clear();
  emit outcomeChanged();
}

void TrashCoordinator::reloadBatches() {
  const int serial = ++readSerial_;
  offMainThread(
      this, [service = service_] { return service.batches(kJournalDays, secondsSinceEpoch()); },
      [this, serial](std::vector<TrashBatch> batches) {
        if (serial != readSerial_) return;
        apply(std::move(batches));
        refresh();
      });
}

void TrashCoordinator::trash(std::vector<TrashItem> items, std::optional<std::string> label, Check check) {
  if (isTrashing_ || items.empty()) return;
  setTrashing(true);
  struct Done {
    TrashOutcome outcome;
    std::vector<TrashBatch> batches;
  };
  offMainThread(
      this,
      [service = service_, items = std::move(items), label = std::move(label), check = std::move(check)]() mutable {
        const auto held = check ? check(items) : std::vector<std::pair<std::string, std::string>>{};
        const double now = secondsSinceEpoch();
        TrashOutcome outcome = items.empty() ? TrashOutcome{} : service.trash(items, label, now);
        outcome.failed.insert(outcome.failed.begin(), held.begin(), held.end());
        return Done{std::move(outcome), service.batches(kJournalDays, now)};
      },
      [this](Done done) {
        const TrashOutcome& outcome = done.outcome;
        const size_t asked = outcome.moved.size() + outcome.failed.size();
        std::string text;
        if (outcome.moved.empty()) {
          text = "Nothing was moved to the Trash.";
        } else {
          text = "Moved " + (outcome.failed.empty() ? itemCount(asked) : std::to_string(outcome.moved.size()) + " of " + itemCount(asked)) +
                 " to the Trash \u2014 freed " + Format::bytes(outcome.freedBytes()) + ".";
        }
        for (const auto& [path, reason] : outcome.failed) text += " " + shown(path) + ": " + reason + ".";
        if (outcome.journalError) text += " " + *outcome.journalError;
        const bool success = !outcome.moved.empty() && outcome.failed.empty() && !outcome.journalError;
        std::vector<std::string> moved;
        for (const auto& entry : outcome.moved) moved.push_back(entry.path);
        lastOutcome_ = std::move(done.outcome);
        apply(std::move(done.batches));
        refresh();
        setTrashing(false);
        emit outcomeChanged();
        if (onMoved && !moved.empty()) onMoved(moved);
        notice(text, success);
      });
}

void TrashCoordinator::undo(const std::string& batchId) {
  if (isTrashing_) return;
  setTrashing(true);
  struct Done {
    UndoOutcome outcome;
    std::vector<TrashBatch> batches;
  };
  offMainThread(
      this,
      [service = service_, batchId] {
        UndoOutcome outcome = service.undo(batchId);
        return Done{std::move(outcome), service.batches(kJournalDays, secondsSinceEpoch())};
      },
      [this, batchId](Done done) {
        const UndoOutcome& outcome = done.outcome;
        std::string text = "Put back " + itemCount(outcome.restored.size()) + ".";
        for (const auto& [path, reason] : outcome.failed) {
          text += " " + shown(path) + " couldn't be put back: " + reason + ".";
        }
        if (!outcome.failed.empty()) text += " Restore those from the Trash in your file manager.";
        if (lastOutcome_ && lastOutcome_->batch == batchId) lastOutcome_.reset();
        apply(std::move(done.batches));
        refresh();
        setTrashing(false);
        emit outcomeChanged();
        notice(text, outcome.failed.empty() && !outcome.restored.empty());
      });
}

void TrashCoordinator::setTrashing(bool trashing) {
  isTrashing_ = trashing;
  emit trashingChanged(trashing);
}

void TrashCoordinator::notice(const std::string& text, bool success) const {
  if (onNotice) onNotice(text, success);
}

std::string TrashCoordinator::shown(const std::string& path) const { return Format::shortPath(path, home_); }

}  // namespace tallyfin::app
