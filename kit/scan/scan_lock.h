#pragma once

// One scan at a time on the machine: an exclusive, non-blocking flock on
// scan.lock in the data folder, released when this object goes (or the process dies).

#include <string>

#include "kit/base/expected.h"
#include "kit/store/store.h"

namespace tallyfin {

struct ScanLockFailure {
  enum class Reason { unavailable, busy };
  Reason reason = Reason::busy;
  std::string message;  // for unavailable
};

class ScanLock {
 public:
  static Expected<ScanLock, ScanLockFailure> acquire(const Store& store);

  ScanLock(ScanLock&& other) noexcept;
  ScanLock& operator=(ScanLock&&) = delete;
  ScanLock(const ScanLock&) = delete;
  ~ScanLock();

 private:
  explicit ScanLock(int fd) : fd_(fd) {}
  int fd_;
};

}  // namespace tallyfin
