#pragma once

// Tells the app when something in a folder changed, so reports written by the
// command line, the MCP server or a scheduled scan show without a rescan. A burst
// of changes (an atomic rename, a history write, the journal) gives one call.

#include <functional>
#include <memory>
#include <string>

namespace tallyfin::platform {

class FolderWatcher {
 public:
  static constexpr double kDebounceSeconds = 0.6;

  // Starts watching `path`; `onChange` runs on the watcher's own thread, so the
  // caller hops to its own thread from there.
  FolderWatcher(const std::string& path, std::function<void()> onChange);
  // Stops watching; no call starts after this returns.
  ~FolderWatcher();
  FolderWatcher(const FolderWatcher&) = delete;
  FolderWatcher& operator=(const FolderWatcher&) = delete;

  // False when the folder could not be watched (missing, unreadable, out of watches).
  bool isWatching() const;

 private:
  struct Worker;
  std::unique_ptr<Worker> worker_;
};

}  // namespace tallyfin::platform
