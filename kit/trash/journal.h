#pragma once

// trash-journal.json: every move to the Trash, grouped in batches, so that a
// batch can be put back.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace tallyfin {

struct JournalEntry {
  std::string path;         // where it was
  std::string trashedPath;  // where it is in the Trash
  int64_t size = 0;
  double date = 0;
  std::string batch;
  std::optional<int64_t> device;  // identity read just before the move
  std::optional<uint64_t> inode;
  std::optional<std::string> label;

  bool operator==(const JournalEntry&) const = default;
};

void to_json(nlohmann::json& json, const JournalEntry& entry);
void from_json(const nlohmann::json& json, JournalEntry& entry);

struct TrashBatch {
  std::string id;
  double date = 0;  // the latest entry's
  std::vector<JournalEntry> entries;
  int64_t size = 0;

  std::optional<std::string> label() const;
  bool operator==(const TrashBatch&) const = default;
};

namespace Journal {

inline constexpr double kRetentionSeconds = 31'536'000;  // 365 days
inline constexpr size_t kMostEntries = 5'000;

// "b" + milliseconds since 1970 + "-" + a random number in base 36.
std::string batchId(double now);

// The entries of the last year, at most the 5,000 most recently appended.
std::vector<JournalEntry> pruned(std::vector<JournalEntry> entries, double now);

// Batches with entries dated within `days` before `now`, newest first.
std::vector<TrashBatch> batches(const std::vector<JournalEntry>& entries, double days, double now);

}  // namespace Journal
}  // namespace tallyfin
