#pragma once

// The result of a duplicate search as the command line and assistants see it.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "kit/tools/duplicate_group.h"

namespace tallyfin::AgentJson {

struct DuplicatesFound {
  std::optional<std::string> folder;  // none for a search of the scan's big files
  int64_t minimum = 0;                // bytes
  std::vector<DuplicateGroup> groups; // most reclaimable first
  bool truncated = false;             // the folder held more files than one search lists
};

inline constexpr size_t kMostScanGroups = 100;
inline constexpr const char* kMostScanGroupsNote = "Showing the 100 sets that free the most.";
inline constexpr const char* kTruncatedNote =
    "The folder holds more files than one search lists; only part was compared. Try a subfolder.";

// Groups with their copies oldest first; the first copy is marked to keep.
nlohmann::json duplicates(const DuplicatesFound& found);

}  // namespace tallyfin::AgentJson
