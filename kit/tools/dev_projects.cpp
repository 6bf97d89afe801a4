#include "kit/tools/dev_projects.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"
#include "kit/base/small_file.h"
#include "kit/base/text.h"
#include "kit/base/tree_walk.h"
#include "kit/base/utf8.h"

namespace tallyfin {
namespace {

constexpr int64_t kSmallGitFile = 4096;
constexpr size_t kShortCommit = 7;

std::optional<int64_t> modificationTime(const std::string& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  return info.st_mtim.tv_sec;
}

// Items inside other items are counted once.
int64_t totalSize(const std::vector<CleanupItem>& clutter) {
  int64_t total = 0;
  for (const auto& item : outermostItems(clutter)) total = saturatingAdd(total, item.size);
  return total;
}

bool later(const timespec& a, const timespec& b) {
  return a.tv_sec != b.tv_sec ? a.tv_sec > b.tv_sec : a.tv_nsec > b.tv_nsec;
}

}  // namespace

bool DevProject::isStale(double now, int staleDays) const {
  return lastActivity && now - static_cast<double>(*lastActivity) > staleDays * 86'400.0;
}

namespace ProjectScanner {

std::vector<DevProject> projects(const std::vector<CleanupItem>& items) {
  std::map<std::string, DevProject> byPath;
  for (const auto& item : items) {
    if (!item.project) continue;
    DevProject& project = byPath[*item.project];
    project.path = *item.project;
    project.clutter.push_back(item);
  }
  std::vector<DevProject> found;
  for (auto& [path, project] : byPath) {
    project.name = std::string(lastComponent(path));
    std::sort(project.clutter.begin(), project.clutter.end(),
              [](const CleanupItem& a, const CleanupItem& b) { return a.path < b.path; });
    project.clutterSize = totalSize(project.clutter);
    project.lastActivity = modificationTime(path);
    found.push_back(std::move(project));
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const DevProject& a, const DevProject& b) { return a.clutterSize > b.clutterSize; });
  return found;
}

std::vector<DevProject> remaining(std::vector<DevProject> projects, const HiddenPaths& hidden) {
  std::vector<DevProject> left;
  for (auto& project : projects) {
    std::erase_if(project.clutter, [&](const CleanupItem& item) { return hidden.contains(item.path); });
    if (project.clutter.empty()) continue;
    project.clutterSize = totalSize(project.clutter);
    left.push_back(std::move(project));
  }
  return left;
}

namespace {

// What one read of a repository gives: its git facts and when its index was written.
struct Repository {
  DevProject::Git git;
  std::optional<int64_t> indexWritten;
};

std::optional<Repository> readRepository(const std::string& project, const std::vector<std::string>& skipping,
                                         size_t fileLimit) {
  const auto directory = gitDirectory(project);
  if (!directory) return std::nullopt;
  Repository repository;
  DevProject::Git& info = repository.git;
  if (const auto head = readFileStart(*directory + "/HEAD", kSmallGitFile)) info.branch = branch(*head);
  info.lastCommit = lastReflogTime(*directory + "/logs/HEAD");
  struct stat index;
  if (::lstat((*directory + "/index").c_str(), &index) == 0) {
    repository.indexWritten = index.st_mtim.tv_sec;
    std::vector<std::string> skipped = skipping;
    skipped.push_back(project + "/.git");
    skipped.push_back(*directory);
    info.dirty = anyFileNewer(index.st_mtim, project, skipped, fileLimit);
  }
  return repository;
}

}  // namespace

std::vector<DevProject> withGit(std::vector<DevProject> projects, size_t fileLimit) {
  for (auto& project : projects) {
    std::vector<std::string> clutter;
    for (const auto& item : project.clutter) clutter.push_back(item.path);
    const auto repository = readRepository(project.path, clutter, fileLimit);
    if (!repository) continue;
    project.git = repository->git;
    // The last commit, or the index (rewritten by add, commit and checkout), whichever is newer.
    std::optional<int64_t> latest = project.lastActivity;
    for (const auto& time : {repository->git.lastCommit, repository->indexWritten}) {
      if (time) latest = std::max(latest.value_or(*time), *time);
    }
    project.lastActivity = latest;
  }
  return projects;
}

std::optional<std::string> gitDirectory(const std::string& project) {
  const std::string dotGit = project + "/.git";
  struct stat info;
  if (::lstat(dotGit.c_str(), &info) != 0) return std::nullopt;
  if (S_ISDIR(info.st_mode)) return dotGit;
  if (!S_ISREG(info.st_mode)) return std::nullopt;
  const auto text = readFileStart(dotGit, kSmallGitFile);
  if (!text) return std::nullopt;
  const std::string_view content = trimmed(*text);
  if (!content.starts_with("gitdir: ")) return std::nullopt;
  std::filesystem::path target(std::string(trimmed(content.substr(8))));
  if (target.is_relative()) target = std::filesystem::path(project) / target;
  return target.lexically_normal().string();
}

std::string sanitizedRef(std::string_view ref) {
  std::string clean;
  for (const char c : ref) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20 && byte != 0x7F) clean += c;
  }
  return clean;
}

std::optional<std::string> branch(std::string_view head) {
  head = trimmed(head);
  if (head.empty()) return std::nullopt;
  if (head.starts_with("ref:")) {
    std::string_view ref = trimmed(head.substr(4));
    for (const std::string_view prefix : {"refs/heads/", "refs/"}) {
      if (ref.starts_with(prefix)) {
        ref.remove_prefix(prefix.size());
        break;
      }
    }
    const std::string name = sanitizedRef(ref);
    return name.empty() ? std::nullopt : std::optional(name);
  }
  // A detached HEAD holds a commit id; it is shown short, as git shows it.
  const std::string commit = sanitizedRef(head.substr(0, kShortCommit));
  return commit.empty() ? std::nullopt : std::optional(commit);
}

std::optional<int64_t> lastReflogTime(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  struct stat info;
  std::string tail;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
    const int64_t length = std::min<int64_t>(info.st_size, kSmallGitFile);
    tail.resize(static_cast<size_t>(length));
    const ssize_t count = ::pread(fd, tail.data(), tail.size(), info.st_size - length);
    tail.resize(count > 0 ? static_cast<size_t>(count) : 0);
  }
  ::close(fd);
  const std::string text = repairedUtf8(tail);
  // The last non-empty line: "<old> <new> Name <mail> <time> <zone>\t<message>".
  size_t end = text.size();
  while (end > 0 && text[end - 1] == '\n') --end;
  if (end == 0) return std::nullopt;
  const size_t start = text.rfind('\n', end - 1);
  std::string_view line = std::string_view(text).substr(start == std::string::npos ? 0 : start + 1,
                                                          end - (start == std::string::npos ? 0 : start + 1));
  line = line.substr(0, line.find('\t'));
  line = trimmed(line);
  const size_t zone = line.rfind(' ');
  if (zone == std::string_view::npos) return std::nullopt;
  const size_t timeStart = line.rfind(' ', zone - 1);
  const std::string_view time = line.substr(timeStart == std::string_view::npos ? 0 : timeStart + 1,
                                            zone - (timeStart == std::string_view::npos ? 0 : timeStart + 1));
  int64_t seconds = 0;
  for (const char c : time) {
    if (c < '0' || c > '9') return std::nullopt;
    seconds = seconds * 10 + (c - '0');
  }
  return time.empty() ? std::nullopt : std::optional(seconds);
}

std::optional<bool> anyFileNewer(const timespec& than, const std::string& folder,
                                 const std::vector<std::string>& skipping, size_t limit) {
  const WalkEnd end = walkTree(folder, skipping, limit, [&](const std::string&, const struct stat& info) {
    return S_ISDIR(info.st_mode) || !later(info.st_mtim, than);
  });
  if (end == WalkEnd::limitReached) return std::nullopt;
  return end == WalkEnd::stopped;
}

std::optional<DevProject::Git> git(const std::string& project, const std::vector<std::string>& skipping,
                                   size_t fileLimit) {
  auto repository = readRepository(project, skipping, fileLimit);
  if (!repository) return std::nullopt;
  return repository->git;
}

}  // namespace ProjectScanner
}  // namespace tallyfin
