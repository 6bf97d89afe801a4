#pragma once

// The pruned size tree of one scan: only folders and files big enough to act on
// get a node; everything else under a folder is folded into one `smaller` node.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/expected.h"

namespace simdjson::dom {
class element;
}  // namespace simdjson::dom

namespace tallyfin {

struct ScanConfiguration;

struct DiskNode {
  enum class Kind : uint8_t { folder = 0, file = 1, bundle = 2, smaller = 3, unreadable = 4 };

  // Folders this many levels below "/" keep no children: their size and count
  // cover everything below, and every reader of the tree can walk it without
  // running out of stack, however deep the disk goes.
  static constexpr size_t kDeepestLevel = 256;

  std::string name;   // last path component; empty for a `smaller` node
  int64_t size = 0;   // allocated bytes of everything below, hard links once
  int64_t files = 0;  // files below
  int64_t modified = 0;
  Kind kind = Kind::folder;
  std::vector<DiskNode> children;  // largest first, a `smaller` node last

  bool operator==(const DiskNode&) const = default;

  // The first child with exactly this name that is not a `smaller` node.
  const DiskNode* child(std::string_view named) const;
  DiskNode* child(std::string_view named);

  // Resolves a slash-separated relative path; empty pieces are ignored.
  const DiskNode* node(std::string_view at) const;
};

// Compact JSON: keys in the order name, size, files, modified, kind, children,
// zero values left out, kinds as numbers.
std::string encodeJson(const DiskNode& node);
void appendJson(std::string& out, const DiskNode& node);

// Reads a node written by `encodeJson`; a missing name or size, a wrong type or an
// unknown kind number is an error for the whole document.
Expected<DiskNode, std::string> decodeDiskNode(std::string_view json);
// The same for a node inside a bigger document that is already parsed.
Expected<DiskNode, std::string> decodeDiskNode(const simdjson::dom::element& json);

// Children of a folder whose full size and file count are known, chosen by the
// pruning rule; `children` is in the order the folder was listed. None at or
// below kDeepestLevel.
std::vector<DiskNode> prune(std::vector<DiskNode> children, int64_t size, int64_t files,
                            std::string_view display, const ScanConfiguration& configuration);

// Wraps a tree whose root sits at `displayRoot` in folders up to "/" so that full
// paths resolve from the top; with an empty or "/" display root the tree itself is the top.
DiskNode anchor(DiskNode tree, std::string_view displayRoot);

}  // namespace tallyfin
