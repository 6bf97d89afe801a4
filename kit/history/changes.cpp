#include "kit/history/changes.h"

#include <algorithm>
#include <cstdlib>

#include "kit/base/paths.h"
#include "kit/base/saturating.h"

namespace tallyfin::Analysis {
namespace {

void collect(const DiskNode& node, const std::string& path, int depth, int maxDepth,
             int64_t minimum, SizeMap& sizes) {
  if (node.size < minimum) return;
  sizes[path] = node.size;
  if (depth >= maxDepth) return;
  for (const auto& child : node.children) {
    if (child.kind == DiskNode::Kind::folder || child.kind == DiskNode::Kind::bundle) {
      collect(child, joinPath(path, child.name), depth + 1, maxDepth, minimum, sizes);
    }
  }
}

}  // namespace

Snapshot snapshot(const DiskNode& tree, double date, int64_t used,
                  std::vector<std::string> unreadable, int64_t minimum, int maxDepth) {
  Snapshot result{date, used, {}, std::move(unreadable)};
  collect(tree, "/", 0, maxDepth, minimum, result.sizes);
  return result;
}

ChangeSummary changes(const Snapshot& previous, const Snapshot& current, size_t limit) {
  ChangeSummary summary{previous.date, saturatingSub(current.used, previous.used), {}};
  for (const auto& [path, after] : current.sizes) {
    const auto before = previous.sizes.find(path);
    if (before == previous.sizes.end()) {
      summary.items.push_back({path, after, 0, after, Change::Status::isNew});
    } else if (before->second != after) {
      const int64_t delta = saturatingSub(after, before->second);
      summary.items.push_back({path, delta, before->second, after,
                               delta > 0 ? Change::Status::grew : Change::Status::shrank});
    }
  }
  for (const auto& [path, before] : previous.sizes) {
    if (!current.sizes.contains(path)) {
      summary.items.push_back({path, -before, before, 0, Change::Status::gone});
    }
  }
  std::stable_sort(summary.items.begin(), summary.items.end(), [](const Change& a, const Change& b) {
    return std::llabs(a.delta) > std::llabs(b.delta);
  });
  if (summary.items.size() > limit) summary.items.resize(limit);
  return summary;
}

std::optional<Change> topGrowth(const ChangeSummary& summary) {
  std::optional<Change> top;
  for (const auto& change : summary.items) {
    if (change.delta > 0 && (!top || change.delta > top->delta)) top = change;
  }
  bool deeper = true;
  while (top && deeper) {
    deeper = false;
    for (const auto& change : summary.items) {
      if (isInside(change.path, top->path) && change.delta * 4 >= top->delta * 3) {
        top = change;
        deeper = true;
        break;
      }
    }
  }
  return top;
}

FolderSample folderSample(double date, const Snapshot& snapshot, int64_t minimum, size_t limit) {
  std::vector<std::pair<std::string, int64_t>> sizes;
  for (const auto& [path, size] : snapshot.sizes) {
    if (size >= minimum) sizes.emplace_back(path, size);
  }
  std::stable_sort(sizes.begin(), sizes.end(),
                   [](const auto& a, const auto& b) { return a.second > b.second; });
  if (sizes.size() > limit) sizes.resize(limit);
  return {date, SizeMap(sizes.begin(), sizes.end())};
}

}  // namespace tallyfin::Analysis
