#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/function_ref.h"
#include "kit/scan/project_rules.h"
#include "kit/store/file_kind.h"
#include "kit/store/large_file.h"

namespace tallyfin {

// Files with more than one hard link, remembered so each is counted once in the
// end. A home can hold millions of them (package stores link every file into each
// project): names and folder paths sit in one buffer per worker, each folder's
// path once, so a link costs its record and its name and no allocation of its own.
class HardLinks {
 public:
  // How far this worker's links had grown, to go back to.
  struct Mark {
    size_t parts = 0;
    size_t links = 0;
    size_t folders = 0;
    size_t text = 0;
  };

  // A link named `name` in the folder shown as `folder`; the links of one folder
  // come one after another.
  void add(std::string_view folder, std::string_view name, uint64_t inode, int64_t size);
  // Takes over `other`'s links without copying them: each worker's stay apart.
  void absorb(HardLinks&& other);

  Mark mark() const;
  // Forgets what was added since `mark`.
  void rollBack(const Mark& mark);

  // Calls `onShared` once per inode met under two or more paths, with its size
  // and its paths sorted; the paths may be reordered or taken by the call.
  void forEachShared(FunctionRef<void(int64_t size, std::vector<std::string>& paths)> onShared);

 private:
  // 24 bytes: the name's length is where its terminating zero is.
  struct Link {
    uint64_t inode = 0;
    int64_t size = 0;
    uint32_t name = 0;    // where the name starts in the part's text
    uint32_t folder = 0;  // index into the part's folders
  };
  // One worker's links, or part of them when its text would pass 4 GiB.
  struct Part {
    std::vector<Link> links;
    std::vector<uint32_t> folders;  // where each folder's shown path starts in text
    std::string text;               // folder paths and names, each ending in a zero

    std::string_view at(uint32_t start) const { return std::string_view(text.data() + start); }
    uint32_t append(std::string_view added);  // returns where it starts
    std::string path(const Link& link) const;
  };

  std::vector<Part> parts_;
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

  // What a folder's listing may add to; a listing that fails part way is taken back.
  struct Checkpoint {
    size_t largeFiles = 0;
    HardLinks::Mark links;
    std::array<int64_t, kFileKindCount> typeBytes{};
    std::array<int64_t, kFileKindCount> typeFiles{};
  };
  Checkpoint checkpoint() const;
  void rollBack(const Checkpoint& checkpoint);

  void countFile(FileKind kind, int64_t size);
  // Counts a folder that could not be read, keeping the first paths as a sample.
  void deny(std::string_view display);
  // Lists appended (and taken from `others`), counters added.
  void absorb(std::vector<Accumulator>& others);
  // One total per kind that holds anything, in the kinds' order.
  std::vector<TypeTotal> typeTotals() const;
};

}  // namespace tallyfin
