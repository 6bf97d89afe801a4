#include "tests/support/file_content.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <vector>

namespace tallyfin::testing {

void patternFile(const std::string& path, int64_t size, int seed) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  std::vector<char> data(static_cast<size_t>(size));
  for (int64_t i = 0; i < size; ++i) data[i] = static_cast<char>((i * 7 + i / 4096 * 13 + seed * 101) & 0xFF);
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  ASSERT_GE(fd, 0) << path;
  ASSERT_EQ(::write(fd, data.data(), data.size()), static_cast<ssize_t>(data.size()));
  ::close(fd);
}

void flipByte(const std::string& path, int64_t offset) {
  const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
  char byte = 0;
  ASSERT_EQ(::pread(fd, &byte, 1, offset), 1);
  byte = static_cast<char>(byte ^ 0x5A);
  ASSERT_EQ(::pwrite(fd, &byte, 1, offset), 1);
  ::close(fd);
}

namespace {

void setTimes(const std::string& path, const timespec (&times)[2]) {
  ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW), 0) << path;
}

}  // namespace

void setModified(const std::string& path, int64_t seconds) {
  setTimes(path, {{0, UTIME_OMIT}, {static_cast<time_t>(seconds), 0}});
}

void setAccessed(const std::string& path, int64_t seconds) {
  setTimes(path, {{static_cast<time_t>(seconds), 0}, {0, UTIME_OMIT}});
}

}  // namespace tallyfin::testing
