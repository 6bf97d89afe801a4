#pragma once

// Software projects that carry rebuildable clutter, with what git's own files
// say about them. git itself is never run: a repository cannot make us run its
// hooks or its configuration.

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/cleanup/cleanup_item.h"
#include "kit/cleanup/keep_list.h"

namespace tallyfin {

struct DevProject {
  struct Git {
    std::optional<std::string> branch;
    std::optional<int64_t> lastCommit;
    std::optional<bool> dirty;  // none when it cannot be told
    bool operator==(const Git&) const = default;
  };

  std::string path;
  std::string name;
  std::vector<CleanupItem> clutter;  // by path
  int64_t clutterSize = 0;           // nested items counted once
  std::optional<int64_t> lastActivity;
  std::optional<Git> git;

  // Untouched for longer than `staleDays` at `now` (seconds since 1970).
  bool isStale(double now, int staleDays) const;
};

namespace ProjectScanner {

// Files looked at before the answer to "changed since the index" becomes "can't tell".
inline constexpr size_t kFileLimit = 20'000;
inline constexpr int kDefaultStaleDays = 90;

// The suggestions that belong to a project, gathered per project, biggest clutter first.
std::vector<DevProject> projects(const std::vector<CleanupItem>& items);

// The projects without the clutter that is hidden now (kept, or moved to the
// Trash since), their sizes worked out again; projects left without clutter drop out.
std::vector<DevProject> remaining(std::vector<DevProject> projects, const HiddenPaths& hidden);

// Fills `git` and brings `lastActivity` forward to the repository's last work.
std::vector<DevProject> withGit(std::vector<DevProject> projects, size_t fileLimit = kFileLimit);

// The repository of a working tree: .git itself, or where a linked worktree's .git file points.
std::optional<std::string> gitDirectory(const std::string& project);

std::optional<DevProject::Git> git(const std::string& project, const std::vector<std::string>& skipping,
                                   size_t fileLimit = kFileLimit);

// The branch HEAD's text names; a detached HEAD reads as its short commit id.
std::optional<std::string> branch(std::string_view head);

// A reference without control characters, so a crafted name cannot disturb a display.
std::string sanitizedRef(std::string_view ref);

// The time of the newest reflog line, from the file's last 4096 bytes only.
std::optional<int64_t> lastReflogTime(const std::string& path);

// Whether any file under `folder` (outside `skipping`) changed after `than`; none
// when `limit` entries were looked at without finding one.
std::optional<bool> anyFileNewer(const timespec& than, const std::string& folder,
                                 const std::vector<std::string>& skipping, size_t limit);

}  // namespace ProjectScanner
}  // namespace tallyfin
