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

#include "kit/scan/disk_node.h"
#include "kit/store/store.h"
#include "kit/trash/journal.h"
#include "kit/platform/trasher.h"

namespace tallyfin {

// What an item was when someone last looked at it (the scan, a preview, the app's
// own listing). A move is refused when the item on disk is no longer that.
struct ItemIdentity {
  enum class Type { file, folder, link, other };
  Type type = Type::folder;
  // Device and inode; none when only the type was seen (a scan does not keep them).
  std::optional<uint64_t> device;
  std::optional<uint64_t> inode;

  // The item at `path` now, without following a final link; none when nothing is there.
  static std::optional<ItemIdentity> of(const std::string& path);
  // The type the scan saw at `path`: a folder or bundle, or a file; none when the
  // pruned tree has no node for it.
  static std::optional<ItemIdentity> inScan(const DiskNode& tree, const std::string& path);

  // Whether `now` is still the item that was seen: the same type and, where
  // known, the same device and inode. A folder seen is never matched by a link.
  bool matches(const ItemIdentity& now) const;

  bool operator==(const ItemIdentity&) const = default;
};

// One item to move. Callers that showed the item to someone pass `seen`, read
// when it was shown (an app: `ItemIdentity::of(path)` when the list was made), so
// that a file or link put in its place since then is refused, not moved.
struct TrashItem {
  enum class Origin { suggestion, userChoice, application, appLeftover, autopilot };
  std::string path;
  int64_t size = 0;
  Origin origin = Origin::suggestion;
  std::optional<ItemIdentity> seen = std::nullopt;
};

struct TrashOutcome {
  std::string batch;
  std::vector<JournalEntry> moved;
  std::vector<std::pair<std::string, std::string>> failed;  // path, reason
  std::optional<std::string> journalError;
  // Set when the journal was damaged: it was kept aside and earlier batches can't be put back.
  std::optional<std::string> journalNote;

  int64_t freedBytes() const;
};

struct UndoOutcome {
  std::vector<std::string> restored;
  std::vector<std::pair<std::string, std::string>> failed;  // path, reason
  std::optional<std::string> journalNote;                   // as in TrashOutcome
};

class TrashService {
 public:
  TrashService(std::string home, Store store, std::shared_ptr<Trasher> trasher);

  // Why `path` may not move now; none when it may.
  std::optional<std::string> refusal(const std::string& path, TrashItem::Origin origin) const;
  // The same for an item, which also must still be what was seen of it.
  std::optional<std::string> refusal(const TrashItem& item) const;

  // Moves the items in order and journals the ones that moved as one batch.
  TrashOutcome trash(const std::vector<TrashItem>& items, const std::optional<std::string>& label,
                     double now) const;

  // Why a journal entry may not be put back; none when it may.
  std::optional<std::string> restoreRefusal(const JournalEntry& entry) const;

  // Puts back every entry of the batch that is still the very same item.
  UndoOutcome undo(const std::string& batchId) const;

  // The batch `wanted` names, or the newest one; none when the journal has no such batch.
  std::optional<TrashBatch> batchToUndo(const std::optional<std::string>& wanted, double now) const;

  // Whether the entry's item still lies in the Trash, the very same item.
  bool isInTrash(const JournalEntry& entry) const;

  std::vector<TrashBatch> batches(double withinDays, double now) const;

 private:
  std::string home_;
  Store store_;
  std::shared_ptr<Trasher> trasher_;
};

}  // namespace tallyfin
