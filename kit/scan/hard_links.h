#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "kit/scan/accumulator.h"
#include "kit/scan/disk_node.h"

namespace tallyfin {

// Counts every file with several links once: in each group of links to one inode
// the path that sorts first keeps the bytes, the others are taken out of the tree
// along their paths. Returns the bytes taken out.
int64_t deduplicateHardLinks(DiskNode& tree, HardLinks links);

// Takes `size` bytes and one file off every node on the way to `path`; where the
// way leads into folded-away items, the folder's `smaller` node pays instead.
void subtractAlongPath(DiskNode& tree, std::string_view path, int64_t size);

}  // namespace tallyfin
