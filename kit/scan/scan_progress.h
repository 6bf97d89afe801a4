#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tallyfin {

struct ScanProgress {
  enum class Phase { planning, scanning, analyzing, done };

  Phase phase = Phase::planning;
  int done = 0;
  int total = 0;
  std::string current;  // the path being worked on
  int64_t files = 0;    // files listed so far, while scanning
  int64_t bytes = 0;    // their bytes

  // 0.02 planning, 0.03 to 0.93 scanning, 0.95 analyzing, 1 done.
  double fraction() const;
};

// "planning", "scanning", "analyzing" or "done".
std::string_view phaseName(ScanProgress::Phase phase);

// Called from any thread, including the scanner's workers.
using ProgressCallback = std::function<void(const ScanProgress&)>;

class CancelToken {
 public:
  void cancel() { flag_.store(true, std::memory_order_relaxed); }
  bool isCancelled() const { return flag_.load(std::memory_order_relaxed); }

 private:
  std::atomic<bool> flag_{false};
};

}  // namespace tallyfin
