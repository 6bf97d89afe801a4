#include "kit/tools/duplicate_group.h"

#include <sys/stat.h>

#include <algorithm>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"
#include "kit/tools/file_facts.h"

namespace tallyfin {

std::vector<DuplicateGroup::File> DuplicateGroup::byAge() const {
  std::vector<File> sorted = files;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [](const File& a, const File& b) { return a.modified < b.modified; });
  return sorted;
}

int64_t DuplicateGroup::reclaimable() const {
  const auto sorted = byAge();
  int64_t total = 0;
  for (size_t i = 1; i < sorted.size(); ++i) total = saturatingAdd(total, sorted[i].privateSize);
  return total;
}

bool DuplicateGroup::sharesStorage() const { return DuplicateFinder::freesNextToNothing(size, reclaimable()); }

namespace DuplicateFinder {

// Under 1% of one copy counts as nothing: clones still own a few private blocks.
// (reclaimable × 100 < size, without the product overflowing.)
bool freesNextToNothing(int64_t size, int64_t reclaimable) {
  return reclaimable < size / 100 + (size % 100 != 0 ? 1 : 0);
}


bool isUserFile(std::string_view path, std::string_view home) {
  const std::string prefix = std::string(home) + "/";
  if (!path.starts_with(prefix)) return false;
  const std::string_view relative = path.substr(prefix.size());
  if (relative.starts_with("Library/") || relative.starts_with(".")) return false;
  bool userFile = true;
  forEachComponent(parentPath(relative), [&](std::string_view folder) {
    userFile = userFile && !folder.starts_with(".") && !endsWith(folder, ".app") &&
               !endsWith(folder, ".photoslibrary") && !endsWith(folder, ".bundle") &&
               folder != "node_modules";
  });
  return userFile;
}

std::vector<std::string> suggestedFolders(const std::string& home) {
  std::vector<std::string> folders;
  for (const char* name : {"Downloads", "Documents", "Desktop", "Movies", "Pictures", "Music"}) {
    const std::string folder = home + "/" + name;
    struct stat info;
    if (::stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode)) folders.push_back(folder);
  }
  return folders;
}

std::vector<std::string> confirmed(const std::string& keeper, const std::vector<std::string>& extras,
                                   const CancelToken* cancel) {
  std::vector<std::string> same;
  for (const auto& extra : extras) {
    if (extra != keeper && FileFacts::identical(keeper, extra, cancel)) same.push_back(extra);
  }
  return same;
}

}  // namespace DuplicateFinder
}  // namespace tallyfin
