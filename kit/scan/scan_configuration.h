#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "kit/base/paths.h"

namespace tallyfin {

using PathSet = std::set<std::string, std::less<>>;
using TimingMap = std::map<std::string, double, std::less<>>;

// What one scan measures and how finely it keeps and splits the tree.
struct ScanConfiguration {
  std::string root;         // real path where the walk starts
  std::string displayRoot;  // replaces `root` in every shown or stored path
  std::string home;
  int64_t minNodeSize = 10'485'760;
  int maxChildren = 60;
  int64_t largeFileThreshold = 104'857'600;
  PathSet keepAll;
  PathSet keepAllParents;
  PathSet splitPoints;
  TimingMap previousTimings;
  double splitSeconds = 2.0;
  // Planning splits no folder further once this many folders are planned (walk
  // tasks and folders split into tasks): slow folders recorded scan after scan
  // would otherwise cut the walk ever finer, and the planner lists every split
  // folder alone, before the walk starts. Past the limit, only the subfolders of
  // the folders being split when it was reached become tasks.
  size_t plannedFolderLimit = 2'000;
  PathSet mounts;
  // Threads that walk in parallel; 0 picks a count from the machine.
  int workerCount = 0;

  // A plain scan of `root`, shown under its own path, with the system's mount points.
  ScanConfiguration(std::string root, std::string home);
  ScanConfiguration(std::string root, std::string home, PathSet mounts);

  // The whole startup disk, with the folders that deserve finer detail.
  static ScanConfiguration wholeDisk(const std::string& home);

  // Whether a folder keeps its children down to 1 MiB.
  bool keepsAllChildren(std::string_view display) const;

  // The shown path of a real path below `root`.
  std::string displayPath(std::string_view real) const;
};

}  // namespace tallyfin
