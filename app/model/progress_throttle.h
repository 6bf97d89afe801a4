#pragma once

// Scanner threads report progress thousands of times a second; the screen needs
// ten updates a second at most. Phase changes and the final state always pass.

#include <functional>
#include <limits>
#include <mutex>

#include "kit/scan/scan_progress.h"

namespace tallyfin::app {

class ProgressThrottle {
 public:
  static constexpr double kIntervalSeconds = 0.1;
  using Clock = std::function<double()>;

  // `forward` runs on the reporting thread for every report that passes.
  explicit ProgressThrottle(ProgressCallback forward = {}, Clock clock = monotonicSeconds);

  // Called from any thread.
  void operator()(const ScanProgress& progress);
  // The same gate for reports of any other kind: `forward` runs on this thread
  // unless the report is `droppable` and the last one passed within the interval.
  void pass(bool droppable, const std::function<void()>& forward);

  // Seconds on a clock that never goes back.
  static double monotonicSeconds();

 private:
  ProgressCallback forward_;
  Clock clock_;
  std::mutex lock_;
  double last_ = -std::numeric_limits<double>::infinity();
};

}  // namespace tallyfin::app
