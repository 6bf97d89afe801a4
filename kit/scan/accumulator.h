#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "kit/scan/project_rules.h"
#include "kit/store/file_kind.h"
#include "kit/store/large_file.h"

namespace tallyfin {

// A file with more than one hard link, remembered so it is counted once in the end.
struct Link {
  uint64_t inode = 0;
  int64_t size = 0;
  std::string path;  // display path
};

// What one worker collects besides the tree; merged once all work is done.
struct Accumulator {
  static constexpr size_t kDeniedSampleLimit = 50;

  std::vector<LargeFile> largeFiles;
  std::vector<ProjectJunk> projectJunk;
  std::array<int64_t, kFileKindCount> typeBytes{};
  std::array<int64_t, kFileKindCount> typeFiles{};
  int64_t denied = 0;
  std::vector<std::string> deniedSample;
  std::vector<Link> links;

  void countFile(FileKind kind, int64_t size);
  // Counts a folder that could not be read, keeping the first paths as a sample.
  void deny(std::string_view display);
  // Lists appended, counters added.
  void absorb(Accumulator&& other);
  // One total per kind that holds anything, in the kinds' order.
  std::vector<TypeTotal> typeTotals() const;
};

}  // namespace tallyfin
