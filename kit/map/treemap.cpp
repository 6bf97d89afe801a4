#include "kit/map/treemap.h"

namespace tallyfin::map {
namespace {

std::vector<Rect> tileRects(const std::vector<TreemapTile>& tiles) {
  std::vector<Rect> rects;
  rects.reserve(tiles.size());
  for (const auto& tile : tiles) rects.push_back(tile.rect);
  return rects;
}

}  // namespace

TreemapLayout::TreemapLayout(const DiskNode& root, std::string rootPath, const Rect& bounds,
                             std::vector<TreemapTile> tiles)
    : MapLayout(root, std::move(rootPath), std::move(tiles)),
      bounds_(bounds),
      grid_(bounds, tileRects(shapes_)) {}

std::optional<size_t> TreemapLayout::hit(Point p) const {
  // Tiles nest and siblings do not overlap, so the last tile holding the point
  // is the deepest.
  return grid_.lastHolding(p, [&](size_t i) { return shapes_[i].rect.contains(p); });
}

TreemapLayout treemap(const DiskNode& root, std::string rootPath, const Rect& bounds,
                      const TreemapOptions& options) {
  NestingRules rules;
  rules.maxDepth = options.maxDepth;
  rules.minimumArea = options.minimumArea;
  rules.content = [&options](const Rect& tile) {
    const double pad = options.padding, band = options.headerHeight;
    // The name needs a band of its own; a tile too small for one still frames its children.
    const bool named = tile.height >= 2 * band + pad && tile.width >= 3 * band;
    return inset(tile, pad, named ? band : pad, pad, pad);
  };
  auto tiles = nestedTiles(root, rootPath, bounds, rules);
  return TreemapLayout(root, std::move(rootPath), bounds, std::move(tiles));
}

Rect headerBand(const TreemapTile& tile) {
  if (tile.content.empty()) return {};
  return {tile.rect.x, tile.rect.y, tile.rect.width, tile.content.y - tile.rect.y};
}

}  // namespace tallyfin::map
