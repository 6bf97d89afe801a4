#pragma once

// Identical files found by the duplicate finder, and the checks that decide
// which files are searched and which extra copies may go.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kit/scan/scan_progress.h"

namespace tallyfin {

struct DuplicateGroup {
  struct File {
    std::string path;
    int64_t modified = 0;
    int64_t privateSize = 0;  // bytes not shared with a clone
    bool operator==(const File&) const = default;
  };

  std::string hash;  // lowercase hex SHA-256, sampled or full
  int64_t size = 0;  // of each copy
  std::vector<File> files;
  bool verified = false;  // the hash covers the whole content

  // The copies oldest first: the first is the one to keep.
  std::vector<File> byAge() const;
  // What removing every copy but the oldest frees: their private bytes.
  int64_t reclaimable() const;
  // The copies are clones sharing their blocks: removing them frees next to nothing.
  bool sharesStorage() const;
  bool operator==(const DuplicateGroup&) const = default;
};

namespace DuplicateFinder {

// A file of the user's own: under home, outside ~/Library and hidden folders,
// not inside an app, a photo library, a bundle or node_modules.
bool isUserFile(std::string_view path, std::string_view home);

// The folders offered for a folder search that exist, in a fixed order.
std::vector<std::string> suggestedFolders(const std::string& home);

// Whether copies of `size` bytes whose removal frees `reclaimable` free next to
// nothing, as clones that share their blocks do.
bool freesNextToNothing(int64_t size, int64_t reclaimable);

// The extras that are byte for byte the same as the keeper; only those may go.
std::vector<std::string> confirmed(const std::string& keeper, const std::vector<std::string>& extras,
                                   const CancelToken* cancel = nullptr);

}  // namespace DuplicateFinder
}  // namespace tallyfin
