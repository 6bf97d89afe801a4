#include "tests/map/random_tree.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <string>

namespace tallyfin::testing {
namespace {

class Generator {
 public:
  Generator(uint32_t seed, const RandomTreeShape& shape) : random_(seed), shape_(shape) {}

  DiskNode folder(std::string name, int depth) {
    DiskNode node;
    node.name = std::move(name);
    node.modified = modified();
    const int count = depth == 0 ? shape_.maxChildren : pick(0, shape_.maxChildren);
    for (int i = 0; i < count; ++i) {
      std::string childName = "n" + std::to_string(i);
      const int roll = pick(0, 9);
      if (depth + 1 < shape_.maxDepth && roll < 4) {
        node.children.push_back(folder(std::move(childName), depth + 1));
      } else if (roll < 6) {
        node.children.push_back(leafFolder(std::move(childName)));
      } else {
        node.children.push_back(file(std::move(childName) + extension()));
      }
    }
    std::stable_sort(node.children.begin(), node.children.end(),
                     [](const DiskNode& a, const DiskNode& b) { return a.size > b.size; });
    if (!node.children.empty() && pick(0, 3) == 0) {
      DiskNode rest;
      rest.kind = DiskNode::Kind::smaller;
      rest.size = bytes();
      rest.files = pick(1, 500);
      node.children.push_back(rest);
    }
    for (const auto& child : node.children) {
      node.size += child.size;
      node.files += child.files;
    }
    if (node.children.empty()) node.size = bytes();
    return node;
  }

 private:
  int pick(int low, int high) { return std::uniform_int_distribution<int>(low, high)(random_); }

  // Sizes spread over many orders of magnitude, a few of them zero.
  int64_t bytes() {
    if (pick(0, 30) == 0) return 0;
    return static_cast<int64_t>(std::exp(std::uniform_real_distribution<double>(10, 24)(random_)));
  }

  int64_t modified() {
    if (pick(0, 10) == 0) return 0;
    return shape_.now - pick(0, 730 * 86'400);
  }

  std::string extension() {
    static const char* kinds[] = {".mp4", ".gguf", ".zip", ".txt", ".db", ""};
    return kinds[pick(0, 5)];
  }

  DiskNode leafFolder(std::string name) {
    DiskNode node;
    node.name = std::move(name);
    node.size = bytes();
    node.files = pick(0, 100);
    node.modified = modified();
    node.kind = pick(0, 8) == 0 ? DiskNode::Kind::unreadable : DiskNode::Kind::folder;
    return node;
  }

  DiskNode file(std::string name) {
    DiskNode node;
    node.name = std::move(name);
    node.size = bytes();
    node.files = 1;
    node.modified = modified();
    node.kind = DiskNode::Kind::file;
    return node;
  }

  std::mt19937 random_;
  RandomTreeShape shape_;
};

}  // namespace

DiskNode randomTree(uint32_t seed, const RandomTreeShape& shape) {
  return Generator(seed, shape).folder("/", 0);
}

DiskNode wideFolder(int count, int64_t size) {
  DiskNode folder;
  folder.name = "wide";
  for (int i = 0; i < count; ++i) {
    DiskNode child;
    child.name = "c" + std::to_string(i);
    child.size = size;
    child.files = 1;
    child.kind = DiskNode::Kind::file;
    folder.children.push_back(child);
    folder.size += size;
    folder.files += 1;
  }
  return folder;
}

}  // namespace tallyfin::testing
