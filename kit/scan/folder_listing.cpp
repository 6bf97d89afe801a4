#include "kit/scan/folder_listing.h"

#include <algorithm>

#include "kit/base/saturating.h"

namespace tallyfin {
namespace {

constexpr int64_t kFileNodeMinimum = 1'048'576;

// Counts one piece of a listing; `firstOrder` is the piece's position in the whole.
void readPiece(Listing piece, uint32_t firstOrder, const FolderContext& context,
               const ScanConfiguration& configuration, int32_t rootDevice,
               Accumulator& accumulator, FolderContents& contents,
               SubfolderHandler onSubfolder) {
  // A file smaller than the folder keeps would be folded away at once, so it gets no node.
  const int64_t fileNodeMinimum = std::max(kFileNodeMinimum, context.minimumKept);
  for (uint32_t index = 0; index < piece.size(); ++index) {
    const DirEntry& entry = piece[index];
    const uint32_t order = firstOrder + index;
    contents.markers.note(entry.name);
    if (entry.isDirectory) {
      if (entry.device == rootDevice) onSubfolder(entry, order);
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
      contents.fileNodes.push_back({order, std::move(node)});
    }
  }
}

}  // namespace

void FolderContents::reset() {
  fileBytes = 0;
  fileCount = 0;
  fileNodes.clear();
  markers = SiblingMarkers();
}

std::optional<DirectoryReadError> countFolder(DirectoryReader& reader, int directoryFd,
                                              std::string_view path, const FolderContext& context,
                                              const ScanConfiguration& configuration,
                                              int32_t rootDevice, Accumulator& accumulator,
                                              FolderContents& contents,
                                              SubfolderHandler onSubfolder) {
  const Accumulator::Checkpoint before = accumulator.checkpoint();
  uint32_t listed = 0;
  auto error = reader.listInPieces(directoryFd, path, [&](Listing piece) {
    readPiece(piece, listed, context, configuration, rootDevice, accumulator, contents,
              onSubfolder);
    listed += static_cast<uint32_t>(piece.size());
  });
  if (error) accumulator.rollBack(before);
  return error;
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
