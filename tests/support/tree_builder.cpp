#include "tests/support/tree_builder.h"

#include <algorithm>

#include "kit/base/paths.h"

namespace tallyfin::testing {
namespace {

DiskNode& childFor(DiskNode& parent, std::string_view name) {
  if (DiskNode* existing = parent.child(name)) return *existing;
  DiskNode node;
  node.name = std::string(name);
  parent.children.push_back(std::move(node));
  return parent.children.back();
}

void total(DiskNode& node) {
  if (node.children.empty()) return;
  int64_t size = node.size, files = node.files;
  for (auto& child : node.children) {
    total(child);
    size += child.size;
    files += child.files;
  }
  node.size = size;
  node.files = files;
  // Largest first with the folded `smaller` node last, as the scanner's pruning leaves them.
  std::stable_sort(node.children.begin(), node.children.end(),
                   [](const DiskNode& a, const DiskNode& b) {
                     const bool aFolded = a.kind == DiskNode::Kind::smaller;
                     const bool bFolded = b.kind == DiskNode::Kind::smaller;
                     return aFolded != bFolded ? bFolded : a.size > b.size;
                   });
}

}  // namespace

TreeBuilder& TreeBuilder::add(const std::string& path, int64_t size, DiskNode::Kind kind,
                              int64_t modified) {
  entries_.push_back({path, size, kind, modified});
  return *this;
}

DiskNode TreeBuilder::build() const {
  DiskNode root;
  root.name = "/";
  for (const auto& entry : entries_) {
    DiskNode* node = &root;
    forEachComponent(entry.path, [&](std::string_view name) { node = &childFor(*node, name); });
    node->size = entry.size;
    node->files = entry.kind == DiskNode::Kind::smaller ? 0 : 1;
    node->kind = entry.kind;
    node->modified = entry.modified;
  }
  total(root);
  return root;
}

}  // namespace tallyfin::testing
