#include "kit/map/map_entry.h"

#include <algorithm>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"

namespace tallyfin::map {

std::string label(const MapEntry& entry) {
  if (entry.mergedCount > 0 && !entry.folded) {
    return std::to_string(entry.mergedCount) +
           (entry.mergedCount == 1 ? " smaller item" : " smaller items");
  }
  if (entry.aggregate()) return "Smaller items";
  return std::string(entry.name());
}

MapEntry entryFor(const DiskNode& node, int32_t parent, int32_t depth,
                  std::optional<FileKind> inherited) {
  MapEntry entry;
  entry.node = &node;
  entry.parent = parent;
  entry.depth = depth;
  entry.size = node.size;
  entry.files = node.files;
  entry.modified = node.modified;
  entry.kind = node.kind;
  switch (node.kind) {
    case DiskNode::Kind::file:
      entry.fileKind = inherited ? inherited : file_kind::of(node.name);
      break;
    case DiskNode::Kind::smaller:
      entry.fileKind = inherited;
      entry.folded = true;
      break;
    case DiskNode::Kind::folder:
    case DiskNode::Kind::bundle:
    case DiskNode::Kind::unreadable:
      entry.fileKind = file_kind::override(inherited, node.name);
      entry.childrenNotHeld =
          node.kind != DiskNode::Kind::unreadable && node.children.empty() && node.size > 0;
      if (!node.children.empty() && node.children.back().kind == DiskNode::Kind::smaller) {
        entry.foldedBytes = node.children.back().size;
      }
      break;
  }
  return entry;
}

MapEntry rootEntry(const DiskNode& root, std::string_view rootPath) {
  const auto above =
      rootPath == "/" ? std::nullopt : file_kind::overrideForPath(parentPath(rootPath));
  return entryFor(root, -1, 0, above);
}

void splitChildren(const DiskNode& folder, double extentPerByte, double minimumExtent,
                   ChildSplit& split) {
  split.shown.clear();  // the caller reuses one split, so its vector keeps its capacity
  split.mergedSize = split.mergedFiles = 0;
  split.mergedCount = 0;
  split.mergedFolded = false;
  for (const DiskNode& child : folder.children) {
    if (child.size > 0 && static_cast<double>(child.size) * extentPerByte >= minimumExtent) {
      split.shown.push_back(&child);
      continue;
    }
    split.mergedSize = saturatingAdd(split.mergedSize, child.size);
    split.mergedFiles = saturatingAdd(split.mergedFiles, child.files);
    ++split.mergedCount;
    split.mergedFolded = split.mergedFolded || child.kind == DiskNode::Kind::smaller;
  }
}

MapEntry mergedEntry(const ChildSplit& split, int32_t parent, int32_t depth,
                     std::optional<FileKind> inherited) {
  MapEntry entry;
  entry.parent = parent;
  entry.depth = depth;
  entry.size = split.mergedSize;
  entry.files = split.mergedFiles;
  entry.mergedCount = split.mergedCount;
  entry.kind = DiskNode::Kind::smaller;
  entry.fileKind = inherited;
  entry.folded = split.mergedFolded;
  return entry;
}

int64_t layoutTotal(const DiskNode& folder) {
  int64_t children = 0;
  for (const DiskNode& child : folder.children) children = saturatingAdd(children, child.size);
  return std::max(folder.size, children);
}

std::string joinNames(std::string_view root, const std::vector<std::string_view>& namesBottomUp) {
  std::string path(root);
  for (auto it = namesBottomUp.rbegin(); it != namesBottomUp.rend(); ++it) {
    if (path.empty() || path.back() != '/') path += '/';
    path += *it;
  }
  return path;
}

std::vector<const DiskNode*> nodeChain(const DiskNode& root, std::string_view rootPath,
                                       std::string_view path) {
  if (path != rootPath && !isInside(path, rootPath)) return {};
  std::vector<const DiskNode*> chain{&root};
  if (path == rootPath) return chain;
  const std::string_view below = rootPath == "/" ? path : path.substr(rootPath.size());
  bool lost = false;
  forEachComponent(below, [&](std::string_view name) {
    if (lost) return;
    const DiskNode* folder = chain.back();
    if (const DiskNode* child = folder->child(name)) {
      chain.push_back(child);
      return;
    }
    lost = true;
    if (!folder->children.empty() && folder->children.back().kind == DiskNode::Kind::smaller) {
      chain.push_back(&folder->children.back());
    }
  });
  return chain;
}

MapFocus focusFor(const DiskNode& tree, std::string_view path) {
  const auto chain = nodeChain(tree, "/", path);
  MapFocus focus{&tree, "/"};
  std::vector<std::string_view> names;  // deepest first, as joinNames takes them
  for (size_t i = 1; i < chain.size(); ++i) {
    const DiskNode* node = chain[i];
    if (node->kind != DiskNode::Kind::folder && node->kind != DiskNode::Kind::bundle) break;
    names.insert(names.begin(), node->name);
    focus.node = node;
  }
  focus.path = joinNames("/", names);
  return focus;
}

MapFocus openingFolder(const DiskNode& tree) {
  MapFocus focus{&tree, "/"};
  while (focus.node->children.size() == 1) {
    const DiskNode& only = focus.node->children[0];
    if (only.kind != DiskNode::Kind::folder || only.size != focus.node->size) break;
    focus.node = &only;
    focus.path = joinPath(focus.path, only.name);
  }
  return focus;
}

}  // namespace tallyfin::map
