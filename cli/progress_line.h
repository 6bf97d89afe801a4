#pragma once

// One overprinted line of progress on a terminal's standard error; nothing at
// all when standard error is not a terminal.

#include <chrono>
#include <mutex>
#include <string>
#include <string_view>

#include "kit/scan/scan_progress.h"

namespace tallyfin::cli {

class ProgressLine {
 public:
  explicit ProgressLine(std::string home);
  ~ProgressLine();

  // Safe to call from any thread; redraws at most ten times a second.
  void update(const ScanProgress& progress);
  // Any work: `text`, the time so far, then `path` shortened to "~" form.
  // `final` draws even when the last drawing was a moment ago.
  void show(const std::string& text, std::string_view path = {}, bool final = false);
  // Removes the line so the result starts on a clean line.
  void clear();

 private:
  bool enabled_;
  std::string home_;
  std::mutex mutex_;
  std::chrono::steady_clock::time_point started_;
  std::chrono::steady_clock::time_point lastDrawn_;
  bool drawn_ = false;
};

}  // namespace tallyfin::cli
