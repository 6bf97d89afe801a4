#pragma once

// What one shape of a disk map stands for. Every layout (sunburst, treemap, city)
// is a flat vector of shapes that each start with a `MapEntry`; a shape refers to
// the shape of its folder by index, so a full path is built only when someone
// asks for it (hover, click) rather than once per shape on every layout.
//
// A layout borrows the tree it was laid out from: keep the tree (the report)
// alive for as long as the layout, and lay out again when a new report loads.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/scan/disk_node.h"
#include "kit/store/file_kind.h"

namespace tallyfin::map {

struct MapEntry {
  // The node drawn; null for a group of small siblings that the layout merged.
  const DiskNode* node = nullptr;
  int32_t parent = -1;  // index of the shape of the enclosing folder; -1 for the layout's root
  int32_t depth = 0;    // 0 for the root of the layout
  int64_t size = 0;
  int64_t files = 0;
  int64_t modified = 0;  // seconds since 1970; 0 when unknown (aggregates)
  // Bytes under this folder that the scan folded into its "Smaller items" node.
  int64_t foldedBytes = 0;
  // More than 0: this shape stands for that many siblings too small to draw one by one.
  int32_t mergedCount = 0;
  // `smaller` for aggregates: the scan's folded node and the layout's merged groups.
  DiskNode::Kind kind = DiskNode::Kind::folder;
  // For a file its kind; for a folder the kind it forces on everything in it
  // (node_modules: dev); none when its contents are mixed or unknown.
  std::optional<FileKind> fileKind;
  // The shape holds the scan's folded small items (a merged group may include them).
  bool folded = false;
  // A folder whose size is known but whose children the report does not hold: list
  // it live to see inside.
  bool childrenNotHeld = false;
  // A folder whose children the report holds but this layout did not draw (deeper
  // than the depth limit, or no room): zoom in to see them.
  bool childrenHidden = false;

  // An aggregate stands for no single place on disk.
  bool aggregate() const { return kind == DiskNode::Kind::smaller; }
  bool isFolder() const {
    return kind == DiskNode::Kind::folder || kind == DiskNode::Kind::bundle ||
           kind == DiskNode::Kind::unreadable;
  }
  std::string_view name() const { return node ? std::string_view(node->name) : std::string_view(); }
};

// What a view shows for a shape: its name, "Smaller items", or "12 smaller items".
std::string label(const MapEntry& entry);

// The entry of a node whose folder forces `inherited` on its contents (none: no force).
MapEntry entryFor(const DiskNode& node, int32_t parent, int32_t depth,
                  std::optional<FileKind> inherited);

// The entry of the folder a layout starts from, with the kind its path forces.
MapEntry rootEntry(const DiskNode& root, std::string_view rootPath);

// Children of a folder split for drawing: those whose extent (size times
// `extentPerByte`) reaches `minimumExtent`, in the folder's order, and the rest
// merged into one group.
struct ChildSplit {
  std::vector<const DiskNode*> shown;
  int64_t mergedSize = 0;
  int64_t mergedFiles = 0;
  int32_t mergedCount = 0;
  bool mergedFolded = false;  // the scan's "Smaller items" node is among the merged
};
void splitChildren(const DiskNode& folder, double extentPerByte, double minimumExtent,
                   ChildSplit& split);

// The entry of the merged group of a split.
MapEntry mergedEntry(const ChildSplit& split, int32_t parent, int32_t depth,
                     std::optional<FileKind> inherited);

// Bytes by which a folder's sizes are divided so that its children fit inside it even
// when their sum exceeds the folder's own size.
int64_t layoutTotal(const DiskNode& folder);

// `root` and the names from the top down, joined with "/".
std::string joinNames(std::string_view root, const std::vector<std::string_view>& namesBottomUp);

// The full path of a shape; "" for an aggregate, which is no place of its own.
template <class Shape>
std::string shapePath(std::string_view rootPath, const std::vector<Shape>& shapes, size_t index) {
  if (shapes[index].aggregate()) return {};
  std::vector<std::string_view> names;
  for (size_t i = index; shapes[i].parent >= 0; i = static_cast<size_t>(shapes[i].parent)) {
    names.push_back(shapes[i].name());
  }
  return joinNames(rootPath, names);
}

// The folder a shape is or sits in: "Show in folder" and live listings start there.
template <class Shape>
std::string shapeFolderPath(std::string_view rootPath, const std::vector<Shape>& shapes,
                            size_t index) {
  while (!shapes[index].isFolder() && shapes[index].parent >= 0) {
    index = static_cast<size_t>(shapes[index].parent);
  }
  return shapePath(rootPath, shapes, index);
}

// The nodes from the layout's root down to what a path names, as deep as the tree
// holds it; when the rest was folded by the scan, its "Smaller items" node ends the chain.
// Empty when the path is not inside the root.
std::vector<const DiskNode*> nodeChain(const DiskNode& root, std::string_view rootPath,
                                       std::string_view path);

// Where "Show on Disk Map" opens for a path: the deepest folder (or bundle) that the
// tree, laid out from "/", holds on the way to it: the path itself when it is such a
// folder, else the folder that shows it (a file's folder, the folder whose small
// items the scan folded it into).
struct MapFocus {
  const DiskNode* node = nullptr;
  std::string path;
};
MapFocus focusFor(const DiskNode& tree, std::string_view path);

// Where a map of a whole report opens: the tree starts at "/" with one folder per
// level down to the folder scanned, so the first folder that holds more than that
// one folder, or some bytes of its own.
MapFocus openingFolder(const DiskNode& tree);

// The shape that shows a path: its own, the merged group it went into, or the
// nearest folder drawn above it. None when the path lies outside the layout.
template <class Shape>
std::optional<size_t> locateShape(const DiskNode& root, std::string_view rootPath,
                                  const std::vector<Shape>& shapes, std::string_view path) {
  const auto chain = nodeChain(root, rootPath, path);
  const auto drawn = [&](const DiskNode* node) -> std::optional<size_t> {
    for (size_t i = 0; i < shapes.size(); ++i) {
      if (shapes[i].node == node) return i;
    }
    return std::nullopt;
  };
  if (chain.empty()) return std::nullopt;
  if (auto own = drawn(chain.back())) return own;
  if (chain.size() >= 2) {
    if (auto folder = drawn(chain[chain.size() - 2])) {
      for (size_t i = *folder + 1; i < shapes.size(); ++i) {
        if (shapes[i].mergedCount > 0 && shapes[i].parent == static_cast<int32_t>(*folder))
          return i;
      }
    }
  }
  for (size_t level = chain.size() - 1; level-- > 0;) {
    if (auto above = drawn(chain[level])) return above;
  }
  return std::nullopt;
}

}  // namespace tallyfin::map
