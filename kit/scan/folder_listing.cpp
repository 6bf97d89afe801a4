#include "kit/scan/folder_listing.h"

#include <algorithm>

#include "kit/base/saturating.h"

namespace tallyfin {
namespace {

constexpr int64_t kFileNodeMinimum = 1'048'576;

}  // namespace

void FolderContents::reset() {
  fileBytes = 0;
  fileCount = 0;
  fileNodes.clear();
  markers = SiblingMarkers();
  subfolders.clear();
}

void readContents(Listing listing, const FolderContext& context,
                  const ScanConfiguration& configuration, int32_t rootDevice,
                  Accumulator& accumulator, FolderContents& contents) {
  // A file smaller than the folder keeps would be folded away at once, so it gets no node.
  const int64_t fileNodeMinimum = std::max(kFileNodeMinimum, context.minimumKept);
  for (uint32_t index = 0; index < listing.size(); ++index) {
    const DirEntry& entry = listing[index];
    contents.markers.note(entry.name);
    if (entry.isDirectory) {
      if (entry.device == rootDevice) contents.subfolders.push_back(index);
      continue;
    }
    const int64_t size = entry.allocatedSize;
    contents.fileBytes = saturatingAdd(contents.fileBytes, size);
    contents.fileCount = saturatingAdd(contents.fileCount, 1);
    accumulator.countFile(context.override ? *context.override : file_kind::of(entry.name), size);
    if (size >= configuration.largeFileThreshold) {
      accumulator.largeFiles.push_back(
          {joinPath(context.display, entry.name), size, entry.modified, entry.accessed});
    }
    if (entry.linkCount >= 2) {
      accumulator.links.add(context.display, entry.name, entry.inode, size);
    }
    if (size >= fileNodeMinimum) {
      DiskNode node;
      node.name = std::string(entry.name);
      node.size = size;
      node.files = 1;
      node.modified = entry.modified;
      node.kind = DiskNode::Kind::file;
      contents.fileNodes.push_back({index, std::move(node)});
    }
  }
}

int64_t minimumKept(std::string_view display, const ScanConfiguration& configuration) {
  return configuration.keepsAllChildren(display) ? kFileNodeMinimum : configuration.minNodeSize;
}

bool isBundleName(std::string_view name) {
  return endsWith(name, ".app") || endsWith(name, ".framework");
}

std::vector<DiskNode> pruneOrdered(std::vector<OrderedNode> candidates, int64_t size,
                                   int64_t files, std::string_view display,
                                   const ScanConfiguration& configuration) {
  std::sort(candidates.begin(), candidates.end(),
            [](const OrderedNode& a, const OrderedNode& b) { return a.order < b.order; });
  std::vector<DiskNode> children;
  children.reserve(candidates.size());
  for (auto& candidate : candidates) children.push_back(std::move(candidate.node));
  return prune(std::move(children), size, files, display, configuration);
}

}  // namespace tallyfin
