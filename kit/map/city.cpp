#include "kit/map/city.h"

#include <algorithm>
#include <cmath>

#include "kit/map/nested_tiles.h"

namespace tallyfin::map {
namespace {

constexpr double kSecondsPerDay = 86'400;

// Where a plot's footprint stands: the same share of every plot, about its centre.
Rect footprintOf(const Rect& plot, const CityOptions& options) {
  return scaledAboutCentre(plot, options.footprintShare);
}

std::vector<Rect> projectedBoxes(const std::vector<CityBox>& boxes, Rect& all) {
  std::vector<Rect> bounds;
  bounds.reserve(boxes.size());
  for (const auto& box : boxes) {
    bounds.push_back(project(box.box).bounds());
    const Rect& b = bounds.back();
    if (bounds.size() == 1) {
      all = b;
      continue;
    }
    const double right = std::max(all.right(), b.right()),
                 bottom = std::max(all.bottom(), b.bottom());
    all.x = std::min(all.x, b.x);
    all.y = std::min(all.y, b.y);
    all.width = right - all.x;
    all.height = bottom - all.y;
  }
  return bounds;
}

}  // namespace

double buildingHeight(int64_t modified, const CityOptions& options) {
  if (modified <= 0 || options.now <= modified) return options.minimumHeight;
  const double days = static_cast<double>(options.now - modified) / kSecondsPerDay;
  const double share =
      std::min(1.0, std::log1p(days) / std::log1p(std::max(options.agedDays, 1.0)));
  return options.minimumHeight + (options.maximumHeight - options.minimumHeight) * share;
}

CityLayout::CityLayout(const DiskNode& root, std::string rootPath, std::vector<CityBox> boxes)
    : MapLayout(root, std::move(rootPath), std::move(boxes)) {
  const auto bounds = projectedBoxes(shapes_, projectedBounds_);
  grid_ = RectGrid(projectedBounds_, bounds);
}

std::optional<size_t> CityLayout::hit(Point projected) const {
  // Shapes are in painting order: the last one whose outline holds the point is on top.
  return grid_.lastHolding(projected, [&](size_t i) {
    return insideOutline(project(shapes_[i].box).outline, projected);
  });
}

CityLayout city(const DiskNode& root, std::string rootPath, const CityOptions& options) {
  NestingRules rules;
  rules.maxDepth = options.maxDepth;
  const double share2 = options.footprintShare * options.footprintShare;
  rules.minimumArea = share2 > 0 ? options.minimumFootprint / share2 : options.minimumFootprint;
  rules.content = [&options](const Rect& plot) {
    const Rect footprint = footprintOf(plot, options);
    const double margin = options.blockMargin * std::min(footprint.width, footprint.height);
    return inset(footprint, margin, margin, margin, margin);
  };
  const auto tiles =
      nestedTiles(root, rootPath, {0, 0, options.groundSize, options.groundSize}, rules);

  std::vector<CityBox> boxes;
  boxes.reserve(tiles.size());
  for (const NestedTile& tile : tiles) {
    CityBox box;
    static_cast<MapEntry&>(box) = tile;
    box.block = !tile.content.empty();
    const Rect footprint = footprintOf(tile.rect, options);
    // Parents come first, so the top of the block a shape stands on is known.
    const double base =
        tile.parent < 0 ? 0 : boxes[static_cast<size_t>(tile.parent)].box.z + options.plinthHeight;
    const double height = box.block ? options.plinthHeight : buildingHeight(tile.modified, options);
    box.box = {footprint.x, footprint.y, base, footprint.width, footprint.height, height};
    boxes.push_back(box);
  }
  return CityLayout(root, std::move(rootPath), std::move(boxes));
}

}  // namespace tallyfin::map
