#pragma once

// The only way anything leaves its place: a move to the Trash, checked against
// the live disk right before it happens, recorded in the journal so a batch can
// be put back. Reasons come back as sentences per item; one bad item never stops
// a batch.

#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "kit/store/store.h"
#include "kit/trash/journal.h"
#include "kit/trash/trasher.h"

namespace tallyfin {

struct TrashItem {
  enum class Origin { suggestion, userChoice, application, appLeftover, autopilot };
  std::string path;
  int64_t size = 0;
  Origin origin = Origin::suggestion;
};

struct TrashOutcome {
  std::string batch;
  std::vector<JournalEntry> moved;
  std::vector<std::pair<std::string, std::string>> failed;  // path, reason
  std::optional<std::string> journalError;

  int64_t freedBytes() const;
};

struct UndoOutcome {
  std::vector<std::string> restored;
  std::vector<std::pair<std::string, std::string>> failed;  // path, reason
};

class TrashService {
 public:
  TrashService(std::string home, Store store, std::shared_ptr<Trasher> trasher);

  // Why `path` may not move now; none when it may.
  std::optional<std::string> refusal(const std::string& path, TrashItem::Origin origin) const;

  // Moves the items in order and journals the ones that moved as one batch.
  TrashOutcome trash(const std::vector<TrashItem>& items, const std::optional<std::string>& label,
                     double now) const;

  // Why a journal entry may not be put back; none when it may.
  std::optional<std::string> restoreRefusal(const JournalEntry& entry) const;

  // Puts back every entry of the batch that is still the very same item.
  UndoOutcome undo(const std::string& batchId) const;

  std::vector<TrashBatch> batches(double withinDays, double now) const;

 private:
  std::string home_;
  Store store_;
  std::shared_ptr<Trasher> trasher_;
};

}  // namespace tallyfin
