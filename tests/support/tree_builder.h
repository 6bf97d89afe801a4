#pragma once

// Builds pruned trees in memory, for rules that need exact sizes no file system
// would allocate (524,287 bytes, say).

#include <cstdint>
#include <string>
#include <vector>

#include "kit/scan/disk_node.h"

namespace tallyfin::testing {

class TreeBuilder {
 public:
  // A node at an absolute path with its own size; folders above it are made as needed.
  TreeBuilder& add(const std::string& path, int64_t size,
                   DiskNode::Kind kind = DiskNode::Kind::folder, int64_t modified = 0);
  // The tree from "/", each folder's size the sum of its children, largest first
  // and a `smaller` node last.
  DiskNode build() const;

 private:
  struct Entry {
    std::string path;
    int64_t size;
    DiskNode::Kind kind;
    int64_t modified;
  };
  std::vector<Entry> entries_;
};

}  // namespace tallyfin::testing
