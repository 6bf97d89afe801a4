#pragma once

// Trees shaped like a scan's pruned tree, generated from a seed: folders whose
// size is the sum of their children, largest first, some with a "smaller" node
// last, some files, some folders whose children were all too small to keep.

#include <cstdint>

#include "kit/scan/disk_node.h"

namespace tallyfin::testing {

struct RandomTreeShape {
  int maxDepth = 6;
  int maxChildren = 12;
  int64_t now = 1'800'000'000;  // modification times fall in the two years before
};

DiskNode randomTree(uint32_t seed, const RandomTreeShape& shape = {});

// A folder of `count` children of `size` bytes each, named c0, c1, ...
DiskNode wideFolder(int count, int64_t size);

}  // namespace tallyfin::testing
