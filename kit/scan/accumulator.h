#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kit/scan/project_rules.h"
#include "kit/store/file_kind.h"
#include "kit/store/large_file.h"

namespace tallyfin {

// Files with more than one hard link, remembered so each is counted once in the
// end. A home can hold millions of them (package stores link every file into each
// project): each keeps its name in one shared buffer and its folder's path once per
// folder, not a whole path of its own.
class HardLinks {
 public:
  struct Link {
    uint64_t inode = 0;
    int64_t size = 0;
    size_t nameStart = 0;
    uint32_t nameLength = 0;
    uint32_t folder = 0;
  };

  // A link named `name` in the folder shown as `folder`; the links of one folder
  // come one after another.
  void add(std::string_view folder, std::string_view name, uint64_t inode, int64_t size);
  void absorb(HardLinks&& other);

  std::vector<Link>& links() { return links_; }
  // The link's display path.
  std::string path(const Link& link) const;

 private:
  std::vector<Link> links_;
  std::vector<std::string> folders_;
  std::string names_;
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
  HardLinks links;

  void countFile(FileKind kind, int64_t size);
  // Counts a folder that could not be read, keeping the first paths as a sample.
  void deny(std::string_view display);
  // Lists appended, counters added.
  void absorb(Accumulator&& other);
  // One total per kind that holds anything, in the kinds' order.
  std::vector<TypeTotal> typeTotals() const;
};

}  // namespace tallyfin
