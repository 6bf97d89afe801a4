#include "kit/store/file_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "kit/base/system_error.h"

namespace tallyfin {

Status withFileLock(const std::string& lockPath, const std::function<Status()>& body) {
  const int fd = ::open(lockPath.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) {
    const int code = errno;
    return fail(Error{"Could not open the lock " + lockPath + ": " + errnoText(code) + ".", code});
  }
  while (::flock(fd, LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    const int code = errno;
    ::close(fd);
    return fail(Error{"Could not lock " + lockPath + ": " + errnoText(code) + ".", code});
  }
  Status result = body();
  ::flock(fd, LOCK_UN);
  ::close(fd);
  return result;
}

}  // namespace tallyfin
