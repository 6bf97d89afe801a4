#include "kit/agents/duplicates_json.h"

#include "kit/base/saturating.h"
#include "kit/store/format.h"

namespace tallyfin::AgentJson {

nlohmann::json duplicates(const DuplicatesFound& found) {
  // A search of the scan's big files shows the sets that free the most; a folder
  // search is already bounded by its file limit.
  const bool cut = !found.folder && found.groups.size() > kMostScanGroups;
  const size_t shown = cut ? kMostScanGroups : found.groups.size();
  nlohmann::json groups = nlohmann::json::array();
  for (size_t g = 0; g < shown; ++g) {
    const DuplicateGroup& group = found.groups[g];
    nlohmann::json files = nlohmann::json::array();
    bool keep = true;
    for (const auto& file : group.byAge()) {
      files.push_back({{"path", file.path},
                       {"modified", Format::isoDate(file.modified)},
                       {"private_size", file.privateSize},
                       {"keep", keep}});
      keep = false;
    }
    groups.push_back({{"file_size", group.size},
                      {"reclaimable", group.reclaimable()},
                      {"hash", group.hash},
                      {"verified", group.verified},
                      {"files", files}});
  }
  // Counts cover every set found, shown or not.
  int64_t reclaimable = 0;
  for (const auto& group : found.groups) reclaimable = saturatingAdd(reclaimable, group.reclaimable());
  nlohmann::json json;
  if (found.folder) json["folder"] = *found.folder;
  json["min_size_mb"] = found.minimum / 1'000'000;
  json["group_count"] = found.groups.size();
  json["reclaimable_bytes"] = reclaimable;
  json["groups"] = groups;
  json["truncated"] = found.truncated;
  if (found.truncated) {
    json["note"] = kTruncatedNote;
  } else if (cut) {
    json["note"] = kMostScanGroupsNote;
  }
  return json;
}

}  // namespace tallyfin::AgentJson
