#include "kit/base/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <random>

#include "kit/base/system_error.h"

namespace tallyfin::AtomicFile {
namespace {

std::string temporaryPath(const std::string& path) {
  static thread_local std::mt19937 random{std::random_device{}()};
  return path + ".tmp-" + std::to_string(::getpid()) + "-" + std::to_string(random());
}

Error writeError(const std::string& path, int code) {
  return {"Could not save " + path + ": " + errnoText(code) + ". Check the free space and try again.",
          code};
}

int writeAll(int fd, std::string_view data) {
  while (!data.empty()) {
    const ssize_t written = ::write(fd, data.data(), data.size());
    if (written < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    if (written == 0) return EIO;
    data.remove_prefix(static_cast<size_t>(written));
  }
  return 0;
}

}  // namespace

Status write(std::string_view data, const std::string& path, mode_t mode) {
  const std::string temporary = temporaryPath(path);
  const int fd =
      ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode);
  if (fd < 0) return fail(writeError(path, errno));
  int code = writeAll(fd, data);
  if (code == 0 && ::fchmod(fd, mode) != 0) code = errno;
  if (::close(fd) != 0 && code == 0) code = errno;
  if (code == 0 && ::rename(temporary.c_str(), path.c_str()) != 0) code = errno;
  if (code != 0) {
    ::unlink(temporary.c_str());
    return fail(writeError(path, code));
  }
  return ok();
}

}  // namespace tallyfin::AtomicFile
