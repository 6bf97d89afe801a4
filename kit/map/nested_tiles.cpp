#include "kit/map/nested_tiles.h"

#include <algorithm>
#include <deque>

#include "kit/base/saturating.h"
#include "kit/map/squarify.h"

namespace tallyfin::map {
namespace {

class Nesting {
 public:
  explicit Nesting(const NestingRules& rules) : rules_(rules) {}

  std::vector<NestedTile> run(const DiskNode& root, std::string_view rootPath, const Rect& bounds) {
    NestedTile tile;
    static_cast<MapEntry&>(tile) = rootEntry(root, rootPath);
    tile.rect = bounds;
    tiles_.push_back(tile);
    open(0);
    return std::move(tiles_);
  }

 private:
  enum class What { child, merged, unaccounted };
  struct Item {
    double area;
    const DiskNode* node;
    What what;
  };
  // Per depth, so that a folder's lists survive while its children are opened.
  struct Scratch {
    ChildSplit split;
    std::vector<Item> items;
    std::vector<double> areas;
    std::vector<Rect> rects;
  };

  Scratch& scratch(size_t depth) {
    while (scratch_.size() <= depth) scratch_.emplace_back();
    return scratch_[depth];
  }

  // Lays out the children of tile `index`, each followed by its own subtree.
  void open(size_t index) {
    const DiskNode* node = tiles_[index].node;
    if (!node || node->children.empty() || tiles_[index].aggregate()) return;
    const int32_t depth = tiles_[index].depth;
    const int64_t total = layoutTotal(*node);
    if (total <= 0) return;  // only empty children: nothing to draw
    const Rect content = depth < rules_.maxDepth ? rules_.content(tiles_[index].rect) : Rect{};
    if (content.empty()) {
      tiles_[index].childrenHidden = true;
      return;
    }
    tiles_[index].content = content;
    const auto inherited = tiles_[index].fileKind;

    Scratch& s = scratch(static_cast<size_t>(depth));
    const double perByte = content.area() / static_cast<double>(total);
    splitChildren(*node, perByte, rules_.minimumArea, s.split);
    s.items.clear();
    int64_t childBytes = s.split.mergedSize;
    for (const DiskNode* child : s.split.shown) {
      s.items.push_back({static_cast<double>(child->size) * perByte, child, What::child});
      childBytes = saturatingAdd(childBytes, child->size);
    }
    if (s.split.mergedSize > 0) {
      s.items.push_back({static_cast<double>(s.split.mergedSize) * perByte, nullptr, What::merged});
    }
    if (total > childBytes) {
      s.items.push_back(
          {static_cast<double>(total - childBytes) * perByte, nullptr, What::unaccounted});
    }
    std::stable_sort(s.items.begin(), s.items.end(),
                     [](const Item& a, const Item& b) { return a.area > b.area; });
    s.areas.clear();
    for (const Item& item : s.items) s.areas.push_back(item.area);
    squarify(s.areas, content, s.rects);

    const size_t before = tiles_.size();
    for (size_t k = 0; k < s.items.size(); ++k) {
      const Item& item = s.items[k];
      if (item.what == What::unaccounted) continue;
      if (item.what == What::merged && item.area < rules_.minimumArea) continue;
      NestedTile tile;
      static_cast<MapEntry&>(tile) =
          item.what == What::merged
              ? mergedEntry(s.split, static_cast<int32_t>(index), depth + 1, inherited)
              : entryFor(*item.node, static_cast<int32_t>(index), depth + 1, inherited);
      tile.rect = s.rects[k];
      tiles_.push_back(tile);
      open(tiles_.size() - 1);
    }
    if (tiles_.size() == before) {  // every child too small: nothing stands inside
      tiles_[index].content = {};
      tiles_[index].childrenHidden = true;
    }
  }

  const NestingRules& rules_;
  std::vector<NestedTile> tiles_;
  std::deque<Scratch> scratch_;
};

}  // namespace

std::vector<NestedTile> nestedTiles(const DiskNode& root, std::string_view rootPath,
                                    const Rect& bounds, const NestingRules& rules) {
  return Nesting(rules).run(root, rootPath, bounds);
}

}  // namespace tallyfin::map
