#include "kit/base/small_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

namespace tallyfin {

std::optional<std::string> readSmallFile(const std::string& path, int64_t largest) {
  // Non-blocking so that a FIFO planted under the name cannot hang the caller.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  struct stat info;
  std::optional<std::string> text;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size <= largest) {
    std::string data(static_cast<size_t>(info.st_size), '\0');
    size_t filled = 0;
    while (filled < data.size()) {
      const ssize_t count = ::read(fd, data.data() + filled, data.size() - filled);
      if (count < 0 && errno == EINTR) continue;
      if (count <= 0) break;
      filled += static_cast<size_t>(count);
    }
    data.resize(filled);
    text = std::move(data);
  }
  ::close(fd);
  return text;
}

}  // namespace tallyfin
