#include "kit/scan/scan_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "kit/base/system_error.h"

namespace tallyfin {

Expected<ScanLock, ScanLockFailure> ScanLock::acquire(const Store& store) {
  if (!store.isTrusted()) {
    return fail(ScanLockFailure{ScanLockFailure::Reason::unavailable,
                                store.trustProblem()});
  }
  const std::string path = store.url(Store::File::lock);
  const int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) {
    return fail(ScanLockFailure{ScanLockFailure::Reason::unavailable,
                                "Can't open " + path + ": " + errnoText(errno)});
  }
  if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    ::close(fd);
    return fail(ScanLockFailure{ScanLockFailure::Reason::busy, {}});
  }
  return ScanLock(fd);
}

ScanLock::ScanLock(ScanLock&& other) noexcept : fd_(other.fd_) { other.fd_ = -1; }

ScanLock::~ScanLock() {
  if (fd_ >= 0) ::close(fd_);
}

}  // namespace tallyfin
