#pragma once

#include "kit/scan/scan_progress.h"

namespace tallyfin::cli {

// While it lives, Ctrl-C and SIGTERM cancel `token` instead of killing the
// process, so long work stops between steps and leaves its files whole.
class CancelOnInterrupt {
 public:
  explicit CancelOnInterrupt(CancelToken& token);
  ~CancelOnInterrupt();
  CancelOnInterrupt(const CancelOnInterrupt&) = delete;
  CancelOnInterrupt& operator=(const CancelOnInterrupt&) = delete;
};

}  // namespace tallyfin::cli
