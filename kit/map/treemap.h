#pragma once

// The treemap of the disk map: nested squarified tiles, each folder with a header
// band for its name above its children.
//
// A view lays out into its own pixel rectangle, draws `shapes()` in order (a tile,
// then what lies inside it), writes a folder's name in `headerBand(tile)` where the
// band is tall enough, and asks `hit` what lies under the mouse. Zooming into a
// folder is laying out again from that folder (see transition.h for the animation).

#include <optional>
#include <string>

#include "kit/map/map_layout.h"
#include "kit/map/nested_tiles.h"
#include "kit/map/rect_grid.h"

namespace tallyfin::map {

using TreemapTile = NestedTile;

struct TreemapOptions {
  double headerHeight = 18;  // band for a folder's name, where the tile has room for it
  double padding = 2;        // frame between a folder's edge and its children
  double minimumArea = 16;   // smaller tiles merge into their folder's "N smaller items"
  int maxDepth = 32;
};

class TreemapLayout : public MapLayout<TreemapTile> {
 public:
  TreemapLayout() = default;
  TreemapLayout(const DiskNode& root, std::string rootPath, const Rect& bounds,
                std::vector<TreemapTile> tiles);

  const Rect& bounds() const { return bounds_; }

  // The deepest tile under the point; none outside the map.
  std::optional<size_t> hit(Point p) const;

 private:
  Rect bounds_;
  RectGrid grid_;
};

// The treemap of `root` (found at `rootPath`) filling `bounds`.
TreemapLayout treemap(const DiskNode& root, std::string rootPath, const Rect& bounds,
                      const TreemapOptions& options = {});
TreemapLayout treemap(const DiskNode&& root, std::string rootPath, const Rect& bounds,
                      const TreemapOptions& options = {}) = delete;  // the layout borrows the tree

// The band above a folder's children, where its name goes; empty for a tile
// whose children were not laid out (the whole tile is then free for its name).
Rect headerBand(const TreemapTile& tile);

}  // namespace tallyfin::map
