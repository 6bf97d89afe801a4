#pragma once

// The overview's storage areas: the pruned tree summed by a fixed table of folders.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "kit/scan/disk_node.h"

namespace tallyfin {

struct Bucket {
  std::string key;
  std::string label;
  int64_t size = 0;
  bool operator==(const Bucket&) const = default;
};

void to_json(nlohmann::json& json, const Bucket& bucket);
void from_json(const nlohmann::json& json, Bucket& bucket);

struct BucketRule {
  std::string path;
  std::string_view key;
  std::string_view label;
};

namespace Analysis {

// The folder table for this home folder: the macOS rows, then Linux's own places.
std::vector<BucketRule> bucketRules(const std::string& home);

// Bytes per area; the deepest rule above a folder decides its area. Areas are
// listed in the table's order, empty ones left out.
std::vector<Bucket> buckets(const DiskNode& tree, const std::string& home);

}  // namespace Analysis
}  // namespace tallyfin
