#pragma once

// A folder measured now, for the disk map's look inside a folder whose contents the
// report folded away: one scan of that folder alone, finer than a whole-disk scan.

#include <string>

#include "kit/base/expected.h"
#include "kit/scan/disk_node.h"
#include "kit/scan/scan_progress.h"

namespace tallyfin::app {

// The folder's tree, anchored at "/" so that full paths resolve in it; the
// sentence that says why when the folder can't be listed. Runs on the calling thread.
Expected<DiskNode, std::string> listFolder(const std::string& path, const std::string& home,
                                           const CancelToken& cancel);

}  // namespace tallyfin::app
