#pragma once

// What every scan leaves behind besides its report: a history line, a snapshot
// of folder sizes, and a sample of the biggest folders.

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace tallyfin {

enum class ScanTrigger { manual, scheduled };

struct HistoryEntry {
  double date = 0;
  int64_t used = 0;
  int64_t free = 0;
  int64_t reclaimableSafe = 0;
  int64_t reclaimableReview = 0;
  std::optional<ScanTrigger> trigger;
  std::optional<std::string> topChangePath;
  std::optional<int64_t> topChangeDelta;
  bool operator==(const HistoryEntry&) const = default;
};

using SizeMap = std::map<std::string, int64_t>;

struct Snapshot {
  double date = 0;
  int64_t used = 0;
  SizeMap sizes;  // folder path to bytes
  std::vector<std::string> unreadable;
  bool operator==(const Snapshot&) const = default;
};

struct Change {
  enum class Status { isNew, gone, grew, shrank };
  std::string path;
  int64_t delta = 0;  // after - before
  int64_t before = 0;
  int64_t after = 0;
  Status status = Status::grew;
  bool operator==(const Change&) const = default;
};

struct ChangeSummary {
  double since = 0;
  int64_t usedDelta = 0;
  std::vector<Change> items;
  bool operator==(const ChangeSummary&) const = default;
};

struct FolderSample {
  double date = 0;
  SizeMap sizes;
  bool operator==(const FolderSample&) const = default;
};

struct FolderTrend {
  struct Point {
    double date = 0;
    int64_t size = 0;
    bool operator==(const Point&) const = default;
  };
  std::string path;
  std::vector<Point> series;
  int64_t delta = 0;
  double perWeek = 0;
  bool operator==(const FolderTrend&) const = default;
};

void to_json(nlohmann::json& json, ScanTrigger trigger);
void from_json(const nlohmann::json& json, ScanTrigger& trigger);
void to_json(nlohmann::json& json, const HistoryEntry& entry);
void from_json(const nlohmann::json& json, HistoryEntry& entry);
void to_json(nlohmann::json& json, const Snapshot& snapshot);
void from_json(const nlohmann::json& json, Snapshot& snapshot);
void to_json(nlohmann::json& json, const Change& change);
void from_json(const nlohmann::json& json, Change& change);
void to_json(nlohmann::json& json, const ChangeSummary& summary);
void from_json(const nlohmann::json& json, ChangeSummary& summary);
void to_json(nlohmann::json& json, const FolderSample& sample);
void from_json(const nlohmann::json& json, FolderSample& sample);

}  // namespace tallyfin
