#include "kit/base/tree_walk.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <memory>

#include "kit/base/paths.h"

namespace tallyfin {
namespace {

struct CloseDirectory {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

}  // namespace

WalkEnd walkTree(const std::string& folder, const std::vector<std::string>& skipping, size_t limit,
                 const std::function<bool(const std::string& path, const struct stat& info)>& visit) {
  std::vector<std::string> pending{folder};
  size_t visited = 0;
  while (!pending.empty()) {
    const std::string current = std::move(pending.back());
    pending.pop_back();
    const std::unique_ptr<DIR, CloseDirectory> directory(::opendir(current.c_str()));
    if (!directory) continue;
    while (const dirent* entry = ::readdir(directory.get())) {
      const std::string_view name = entry->d_name;
      if (name == "." || name == "..") continue;
      struct stat info;
      if (::fstatat(::dirfd(directory.get()), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) continue;
      std::string path = joinPath(current, name);
      if (!visit(path, info)) return WalkEnd::stopped;
      if (++visited >= limit) return WalkEnd::limitReached;
      if (S_ISDIR(info.st_mode) && std::find(skipping.begin(), skipping.end(), path) == skipping.end()) {
        pending.push_back(std::move(path));
      }
    }
  }
  return WalkEnd::finished;
}

std::optional<int64_t> latestChange(const std::string& path, size_t limit) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  int64_t latest = info.st_mtim.tv_sec;
  if (!S_ISDIR(info.st_mode)) return latest;
  const WalkEnd end = walkTree(path, {}, limit, [&](const std::string&, const struct stat& entry) {
    latest = std::max<int64_t>(latest, entry.st_mtim.tv_sec);
    return true;
  });
  if (end == WalkEnd::limitReached) return std::nullopt;
  return latest;
}

}  // namespace tallyfin
