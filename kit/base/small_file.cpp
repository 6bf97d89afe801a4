#include "kit/base/small_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdint>

namespace tallyfin {

namespace {

// Up to `wanted` bytes of a regular file that is not a link; a file larger than
// `largest` gives none.
std::optional<std::string> readRegular(const std::string& path, int64_t wanted, int64_t largest) {
  // Non-blocking so that a FIFO planted under the name cannot hang the caller.
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK);
  if (fd < 0) return std::nullopt;
  struct stat info;
  std::optional<std::string> text;
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size <= largest) {
    std::string data(static_cast<size_t>(std::min<int64_t>(info.st_size, wanted)), '\0');
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

}  // namespace

std::optional<std::string> readSmallFile(const std::string& path, int64_t largest) {
  return readRegular(path, largest, largest);
}

std::optional<std::string> readFileStart(const std::string& path, int64_t count) {
  return readRegular(path, count, INT64_MAX);
}

}  // namespace tallyfin
