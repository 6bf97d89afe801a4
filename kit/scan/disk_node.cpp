#include "kit/scan/disk_node.h"

#include <algorithm>
#include <stdexcept>

#include <simdjson.h>

#include "kit/base/json_text.h"
#include "kit/base/paths.h"
#include "kit/base/saturating.h"
#include "kit/scan/scan_configuration.h"

namespace tallyfin {
namespace {

constexpr int64_t kKeepAllMinimum = 1'048'576;
constexpr size_t kKeepAllMaxChildren = 4'000;

// Millions of nodes: simdjson's parsed document is walked directly, field by field.
DiskNode decodeOrThrow(const simdjson::dom::element& json) {
  DiskNode node;
  bool named = false, sized = false;
  for (const auto field : json.get_object()) {
    const std::string_view key = field.key;
    if (key == "name") {
      node.name = std::string_view(field.value);
      named = true;
    } else if (key == "size") {
      node.size = int64_t(field.value);
      sized = true;
    } else if (key == "files") {
      node.files = int64_t(field.value);
    } else if (key == "modified") {
      node.modified = int64_t(field.value);
    } else if (key == "kind") {
      const auto raw = int64_t(field.value);
      if (raw < 0 || raw > 4) throw std::invalid_argument("unknown node kind " + std::to_string(raw));
      node.kind = static_cast<DiskNode::Kind>(raw);
    } else if (key == "children") {
      if (!field.value.is_array()) throw std::invalid_argument("children is not a list");
      const simdjson::dom::array children(field.value);
      node.children.reserve(children.size());
      for (const auto child : children) node.children.push_back(decodeOrThrow(child));
    }
  }
  if (!named || !sized) throw std::invalid_argument("a node without a name or a size");
  return node;
}

}  // namespace

const DiskNode* DiskNode::child(std::string_view named) const {
  for (const auto& c : children) {
    if (c.kind != Kind::smaller && c.name == named) return &c;
  }
  return nullptr;
}

DiskNode* DiskNode::child(std::string_view named) {
  return const_cast<DiskNode*>(std::as_const(*this).child(named));
}

const DiskNode* DiskNode::node(std::string_view at) const {
  const DiskNode* current = this;
  forEachComponent(at, [&](std::string_view piece) {
    if (current) current = current->child(piece);
  });
  return current;
}

void appendJson(std::string& out, const DiskNode& node) {
  out += "{\"name\":";
  appendJsonString(out, node.name);
  out += ",\"size\":";
  appendJsonInteger(out, node.size);
  if (node.files != 0) {
    out += ",\"files\":";
    appendJsonInteger(out, node.files);
  }
  if (node.modified != 0) {
    out += ",\"modified\":";
    appendJsonInteger(out, node.modified);
  }
  if (node.kind != DiskNode::Kind::folder) {
    out += ",\"kind\":";
    appendJsonInteger(out, static_cast<int64_t>(node.kind));
  }
  if (!node.children.empty()) {
    out += ",\"children\":[";
    for (size_t i = 0; i < node.children.size(); ++i) {
      if (i > 0) out += ',';
      appendJson(out, node.children[i]);
    }
    out += ']';
  }
  out += '}';
}

std::string encodeJson(const DiskNode& node) {
  std::string out;
  appendJson(out, node);
  return out;
}

Expected<DiskNode, std::string> decodeDiskNode(const simdjson::dom::element& json) {
  try {
    return decodeOrThrow(json);
  } catch (const std::exception& error) {
    return fail(std::string(error.what()));
  }
}

Expected<DiskNode, std::string> decodeDiskNode(std::string_view json) {
  simdjson::dom::parser parser;
  simdjson::dom::element root;
  if (const auto error = parser.parse(json.data(), json.size()).get(root)) {
    return fail(std::string(simdjson::error_message(error)));
  }
  return decodeDiskNode(root);
}

std::vector<DiskNode> prune(std::vector<DiskNode> children, int64_t size, int64_t files,
                            std::string_view display, const ScanConfiguration& configuration) {
  size_t level = 0;
  forEachComponent(display, [&level](std::string_view) { ++level; });
  if (level >= DiskNode::kDeepestLevel) return {};
  const bool keepAll = configuration.keepsAllChildren(display);
  const int64_t minimum = keepAll ? kKeepAllMinimum : configuration.minNodeSize;
  const size_t maximum =
      keepAll ? kKeepAllMaxChildren : static_cast<size_t>(std::max(configuration.maxChildren, 0));

  std::erase_if(children, [minimum](const DiskNode& c) { return c.size < minimum; });
  if (children.empty()) return children;
  std::stable_sort(children.begin(), children.end(),
                   [](const DiskNode& a, const DiskNode& b) { return a.size > b.size; });
  if (children.size() > maximum) children.resize(maximum);

  int64_t keptSize = 0, keptFiles = 0;
  for (const auto& c : children) {
    keptSize = saturatingAdd(keptSize, c.size);
    keptFiles = saturatingAdd(keptFiles, c.files);
  }
  const int64_t restSize = saturatingSub(size, keptSize);
  if (restSize < 1) return children;
  DiskNode rest;
  rest.size = restSize;
  rest.files = subtractFloorZero(files, keptFiles);
  rest.kind = DiskNode::Kind::smaller;
  children.push_back(std::move(rest));
  return children;
}

DiskNode anchor(DiskNode tree, std::string_view displayRoot) {
  std::vector<std::string_view> parents;
  forEachComponent(displayRoot, [&](std::string_view name) { parents.push_back(name); });
  if (parents.empty()) {
    tree.name = "/";
    return tree;
  }
  tree.name = std::string(parents.back());
  parents.pop_back();
  parents.insert(parents.begin(), "/");
  for (auto it = parents.rbegin(); it != parents.rend(); ++it) {
    DiskNode wrapper;
    wrapper.name = std::string(*it);
    wrapper.size = tree.size;
    wrapper.files = tree.files;
    wrapper.children.push_back(std::move(tree));
    tree = std::move(wrapper);
  }
  return tree;
}

}  // namespace tallyfin
