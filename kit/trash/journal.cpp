#include "kit/trash/journal.h"

#include <algorithm>
#include <map>
#include <random>

#include <nlohmann/json.hpp>

#include "kit/base/json_fields.h"
#include "kit/base/saturating.h"

namespace tallyfin {

void to_json(nlohmann::json& json, const JournalEntry& entry) {
  json = nlohmann::json{{"size", entry.size}, {"date", entry.date}, {"batch", entry.batch}};
  // Names on disk need not be UTF-8; undo must find the very same bytes again.
  setExactText(json, "path", entry.path);
  setExactText(json, "trashedPath", entry.trashedPath);
  setOptional(json, "device", entry.device);
  setOptional(json, "inode", entry.inode);
  setOptional(json, "label", entry.label);
}

void from_json(const nlohmann::json& json, JournalEntry& entry) {
  entry.path = exactText(json, "path");
  entry.trashedPath = exactText(json, "trashedPath");
  entry.size = std::max<int64_t>(json.at("size").get<int64_t>(), 0);
  entry.date = json.at("date").get<double>();
  entry.batch = json.at("batch").get<std::string>();
  entry.device = optionalField<int64_t>(json, "device");
  entry.inode = optionalField<uint64_t>(json, "inode");
  entry.label = optionalField<std::string>(json, "label");
}

std::optional<std::string> TrashBatch::label() const {
  if (entries.empty()) return std::nullopt;
  return entries.front().label;
}

namespace Journal {

std::string batchId(double now) {
  static thread_local std::mt19937 random{std::random_device{}()};
  auto number = static_cast<uint32_t>(random());
  std::string base36;
  do {
    base36.insert(base36.begin(), "0123456789abcdefghijklmnopqrstuvwxyz"[number % 36]);
    number /= 36;
  } while (number > 0);
  return "b" + std::to_string(static_cast<int64_t>(now * 1000)) + "-" + base36;
}

std::vector<JournalEntry> pruned(std::vector<JournalEntry> entries, double now) {
  std::erase_if(entries, [now](const JournalEntry& e) { return e.date < now - kRetentionSeconds; });
  if (entries.size() > kMostEntries) {
    entries.erase(entries.begin(), entries.end() - static_cast<long>(kMostEntries));
  }
  return entries;
}

std::vector<TrashBatch> batches(const std::vector<JournalEntry>& entries, double days, double now) {
  const double since = now - days * 86'400;
  std::vector<TrashBatch> result;
  std::map<std::string, size_t> byId;
  for (const auto& entry : entries) {
    if (entry.date < since) continue;
    auto [it, added] = byId.emplace(entry.batch, result.size());
    if (added) result.push_back({entry.batch, entry.date, {}, 0});
    TrashBatch& batch = result[it->second];
    batch.entries.push_back(entry);
    batch.date = std::max(batch.date, entry.date);
    batch.size = saturatingAdd(batch.size, entry.size);
  }
  std::stable_sort(result.begin(), result.end(),
                   [](const TrashBatch& a, const TrashBatch& b) { return a.date > b.date; });
  return result;
}

}  // namespace Journal
}  // namespace tallyfin
