#include "app/model/progress_throttle.h"

#include <chrono>

namespace tallyfin::app {

ProgressThrottle::ProgressThrottle(ProgressCallback forward, Clock clock)
    : forward_(std::move(forward)), clock_(std::move(clock)) {}

double ProgressThrottle::monotonicSeconds() {
  using namespace std::chrono;
  return duration<double>(steady_clock::now().time_since_epoch()).count();
}

// Forwarding under the lock keeps the order: a phase change never overtakes the
// scanning report before it.
void ProgressThrottle::operator()(const ScanProgress& progress) {
  pass(progress.phase == ScanProgress::Phase::scanning, [&] { forward_(progress); });
}

void ProgressThrottle::pass(bool droppable, const std::function<void()>& forward) {
  const std::lock_guard guard(lock_);
  const double now = clock_();
  if (droppable && now - last_ <= kIntervalSeconds) return;
  last_ = now;
  forward();
}

}  // namespace tallyfin::app
