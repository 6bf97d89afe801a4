#pragma once

// Measures a volume or a folder: plans tasks on the caller's thread, walks them
// in parallel, and returns the pruned tree with everything gathered on the way.

#include "kit/base/expected.h"
#include "kit/scan/raw_scan.h"
#include "kit/scan/scan_configuration.h"
#include "kit/scan/scan_progress.h"

namespace tallyfin {

class Scanner {
 public:
  explicit Scanner(ScanConfiguration configuration);

  // Fails only when the root cannot be looked at or listed, or when `cancel` is set.
  Expected<RawScan, ScanFailure> run(const CancelToken& cancel,
                                     const ProgressCallback& progress = {}) const;

  const ScanConfiguration& configuration() const { return configuration_; }

  // Threads for the walk. Listing waits on the disk more than on the processor:
  // a cold disk serves a deeper queue faster, so there are more threads than cores.
  static int defaultWorkerCount();

 private:
  ScanConfiguration configuration_;
};

}  // namespace tallyfin
