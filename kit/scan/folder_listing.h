#pragma once

// How one listed folder's entries count toward the scan. Planning and the
// parallel walk both go through here, so a file is counted the same either way.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/function_ref.h"
#include "kit/scan/accumulator.h"
#include "kit/scan/directory_reader.h"
#include "kit/scan/disk_node.h"
#include "kit/scan/project_rules.h"
#include "kit/scan/scan_configuration.h"

namespace tallyfin {

// A candidate child with its position in the folder's listing, so that the pruning
// rule sees children in listing order whichever thread measured them first.
struct OrderedNode {
  uint32_t order = 0;
  DiskNode node;
};

// A folder's own files and what else its listing tells.
struct FolderContents {
  int64_t fileBytes = 0;
  int64_t fileCount = 0;
  std::vector<OrderedNode> fileNodes;
  SiblingMarkers markers;  // complete only once the whole folder is listed

  // Empties it for the next folder, keeping what it has allocated.
  void reset();
};

struct FolderContext {
  std::string_view display;
  std::optional<FileKind> override;  // the kind a parent folder forces on files below
  int64_t minimumKept = 0;           // children below this are folded away
};

// Takes a subfolder on the scan's device, with its position in the folder's
// listing, while its entry is valid.
using SubfolderHandler = FunctionRef<void(const DirEntry& entry, uint32_t order)>;

// Lists the folder open as `directoryFd` (named `path` the way the reader's mount
// points are) piece by piece, so the reader's memory does not follow the folder's
// size; counts its files into `contents` and `accumulator` and hands its
// subfolders to `onSubfolder`. On a read error the accumulator is as it was, and
// the caller drops the subfolders it was handed.
std::optional<DirectoryReadError> countFolder(DirectoryReader& reader, int directoryFd,
                                              std::string_view path, const FolderContext& context,
                                              const ScanConfiguration& configuration,
                                              int32_t rootDevice, Accumulator& accumulator,
                                              FolderContents& contents,
                                              SubfolderHandler onSubfolder);

// The smallest child a folder keeps: 1 MiB where it keeps all children.
int64_t minimumKept(std::string_view display, const ScanConfiguration& configuration);

// A folder that the views show as one application or framework.
bool isBundleName(std::string_view name);

// Kept children, largest first, from candidates measured in any order.
std::vector<DiskNode> pruneOrdered(std::vector<OrderedNode> candidates, int64_t size,
                                   int64_t files, std::string_view display,
                                   const ScanConfiguration& configuration);

}  // namespace tallyfin
