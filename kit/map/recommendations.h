#pragma once

// What to do about the space, in words: the report's cleanup items, large files,
// big folders, the folders that keep growing and the Trash, summed up into a few sentences
// such as "node_modules in 14 projects hold 9.20 GB; 11 of them untouched for 90
// days — Safe to remove", each linked to the items and places it speaks of.
//
// Every figure is taken from the report as it stands: sizes from the tree, ages
// from the modification (for large files, access) times it recorded, measured to
// the report's date. Items the user kept or already removed are left out, and a
// group is only mentioned when it reaches the minimum.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "kit/cleanup/keep_list.h"
#include "kit/report/scan_report.h"

namespace tallyfin {

struct Recommendation {
  enum class Kind {
    projectJunk,    // one kind of rebuildable project folder across projects
    cleanupGroup,   // the other suggestions of one category and safety
    largeFiles,     // large files of one kind that no suggestion covers
    growingFolder,  // a folder that grew over the last scans
    bigFolder,      // a big folder that holds no suggestion at all
    trash,          // what the Trash holds
  };

  Kind kind = Kind::cleanupGroup;
  std::string text;                // the finished sentence
  int64_t size = 0;                // bytes it speaks of
  std::optional<Safety> safety;    // the class of the items it speaks of
  std::vector<std::string> items;  // paths of the cleanup items it speaks of, largest first
  std::vector<std::string> paths;  // other places it speaks of (files, folders), largest first
  std::string mapPath;  // where the disk map shows all of it: the place, or the folder holding them

  bool operator==(const Recommendation&) const = default;
};

std::string_view caseName(Recommendation::Kind kind);
void to_json(nlohmann::json& json, const Recommendation& recommendation);

struct RecommendationOptions {
  // Groups, large-file kinds and big folders below this are not mentioned.
  int64_t minimum = 1'000'000'000;
  int64_t minimumGrowth = 250'000'000;  // nor a folder that grew less
  int staleDays = 90;                   // "untouched for 90 days"
  size_t limit = 10;
};

namespace Analysis {

// The recommendations for one report, largest first (equal sizes in the order of
// `Recommendation::Kind`, then by text). `growing` comes from
// `Trends::growingFolders` over the folder history; empty when there is none.
std::vector<Recommendation> recommendations(const ScanReport& report, const HiddenPaths& hidden,
                                            const std::vector<FolderTrend>& growing,
                                            const RecommendationOptions& options = {});

}  // namespace Analysis
}  // namespace tallyfin
