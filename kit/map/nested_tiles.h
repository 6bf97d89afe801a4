#pragma once

// Nested squarified tiles over the tree: the engine under the treemap and the city.

#include <functional>
#include <string_view>
#include <vector>

#include "kit/map/map_entry.h"
#include "kit/map/map_geometry.h"

namespace tallyfin::map {

struct NestedTile : MapEntry {
  Rect rect;     // the tile; its area is its share of the enclosing folder's content
  Rect content;  // where its children were laid out; empty when none were
};

struct NestingRules {
  int maxDepth = 32;       // tiles deeper than this are not made
  double minimumArea = 0;  // nor tiles smaller than this: they merge with their small siblings
  // Where a folder's children go inside its tile; an empty rectangle keeps them out.
  std::function<Rect(const Rect& tile)> content;
};

// The tile of `root` fills `bounds`; inside each folder's content, children (and the
// merged group of the small ones) get areas in proportion to their sizes, largest
// first, ties in the tree's order. Bytes of a folder that no child accounts for
// stay empty space. Tiles come parents first, each folder's children in the order
// squarify placed them (see squarify.h), every child followed by its own subtree.
std::vector<NestedTile> nestedTiles(const DiskNode& root, std::string_view rootPath,
                                    const Rect& bounds, const NestingRules& rules);

}  // namespace tallyfin::map
