#pragma once

// Moves to the Trash and undo from the app, on top of the trash service: the
// moves run off the main thread, the journal's batches are mirrored here, and
// every outcome is told as a notice.

#include <QObject>

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "kit/trash/trash_service.h"

namespace tallyfin::app {

class TrashCoordinator : public QObject {
  Q_OBJECT

 public:
  // The batches offered for Undo at once; the rest stay in the journal.
  static constexpr size_t kRecentBatches = 8;
  static constexpr double kJournalDays = 3'650;

  TrashCoordinator(std::string home, TrashService service, QObject* parent = nullptr);

  const std::vector<TrashBatch>& allBatches() const { return allBatches_; }
  const std::vector<TrashBatch>& batches() const { return batches_; }
  // Paths moved since the report was made, by this app or any other process.
  const std::set<std::string>& removed() const { return removed_; }
  // Paths moved at or after `date` (seconds since 1970) and not put back.
  std::set<std::string> movedSince(double date) const;
  const std::optional<TrashOutcome>& lastOutcome() const { return lastOutcome_; }
  bool isTrashing() const { return isTrashing_; }

  // The date of the report on screen; moves before it are already in it.
  std::function<std::optional<double>()> reportDate;
  std::function<void()> onRemovedChange;
  std::function<void(const std::vector<std::string>& moved)> onMoved;
  std::function<void(const std::string& text, bool success)> onNotice;

  // Takes the journal's batches, newest first, as a load read them.
  void apply(std::vector<TrashBatch> batches);
  // Works out `removed` again from the batches and the report's date.
  void refresh();
  // Forgets the last outcome and the removed paths: they belong to the old report.
  void clear();
  // Reads the journal again, off the main thread.
  void reloadBatches();

  // A last look at the items right before they move, off the main thread: it
  // takes out those that may not go and says why (path, reason).
  using Check = std::function<std::vector<std::pair<std::string, std::string>>(std::vector<TrashItem>& items)>;

  // Moves the items as one batch, unless a move is already running; `check`, when
  // given, runs first.
  void trash(std::vector<TrashItem> items, std::optional<std::string> label, Check check = {});
  // Puts back what the batch moved, where it is still the very same item.
  void undo(const std::string& batchId);

 signals:
  void batchesChanged();
  void outcomeChanged();
  void trashingChanged(bool trashing);

 private:
  void setTrashing(bool trashing);
  void notice(const std::string& text, bool success) const;
  std::string shown(const std::string& path) const;

  std::string home_;
  TrashService service_;
  std::vector<TrashBatch> allBatches_;
  std::vector<TrashBatch> batches_;
  std::set<std::string> removed_;
  std::optional<TrashOutcome> lastOutcome_;
  bool isTrashing_ = false;
  // Journal reads finish in any order; only the latest counts.
  int readSerial_ = 0;
};

// "3 items", "1 item".
std::string itemCount(size_t count);

}  // namespace tallyfin::app
