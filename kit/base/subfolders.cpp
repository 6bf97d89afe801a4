#include "kit/base/subfolders.h"

#include <algorithm>
#include <filesystem>

namespace tallyfin {

std::vector<std::string> sortedSubfolders(const std::string& folder) {
  namespace fs = std::filesystem;
  std::vector<std::string> folders;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    if (it->is_directory(error) && !it->is_symlink(error)) folders.push_back(it->path().string());
  }
  std::sort(folders.begin(), folders.end());
  return folders;
}

std::vector<std::string> sortedEntryNames(const std::string& folder) {
  namespace fs = std::filesystem;
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    names.push_back(it->path().filename().string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace tallyfin
