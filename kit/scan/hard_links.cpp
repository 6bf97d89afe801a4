#include "kit/scan/hard_links.h"

#include <algorithm>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"

namespace tallyfin {
namespace {

void takeOff(DiskNode& node, int64_t size) {
  node.size = subtractFloorZero(node.size, size);
  node.files = subtractFloorZero(node.files, 1);
}

DiskNode* smallerChild(DiskNode& node) {
  for (auto& child : node.children) {
    if (child.kind == DiskNode::Kind::smaller) return &child;
  }
  return nullptr;
}

}  // namespace

void subtractAlongPath(DiskNode& tree, std::string_view path, int64_t size) {
  DiskNode* node = &tree;
  takeOff(*node, size);
  forEachComponent(path, [&](std::string_view name) {
    if (!node) return;
    DiskNode* next = node->child(name);
    if (!next) {
      if (DiskNode* smaller = smallerChild(*node)) takeOff(*smaller, size);
      node = nullptr;
      return;
    }
    takeOff(*next, size);
    node = next;
  });
}

int64_t deduplicateHardLinks(DiskNode& tree, HardLinks links) {
  int64_t deduped = 0;
  // Whatever order the workers found them in, the path that sorts first keeps the bytes.
  links.forEachShared([&](int64_t size, std::vector<std::string>& paths) {
    for (size_t i = 1; i < paths.size(); ++i) {
      subtractAlongPath(tree, paths[i], size);
      deduped = saturatingAdd(deduped, size);
    }
  });
  return deduped;
}

}  // namespace tallyfin
