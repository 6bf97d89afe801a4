#include <fcntl.h>
#include <linux/fiemap.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "kit/platform/file_storage.h"

namespace tallyfin::platform {
namespace {

constexpr unsigned kExtentsPerCall = 256;

int64_t allocatedSize(int fd) {
  struct stat info;
  return ::fstat(fd, &info) == 0 ? static_cast<int64_t>(info.st_blocks) * 512 : 0;
}

}  // namespace

// FIEMAP lists the file's extents; those not marked shared belong to it alone.
std::optional<int64_t> privateSize(int fd) {
  std::vector<char> buffer(sizeof(fiemap) + kExtentsPerCall * sizeof(fiemap_extent));
  auto* map = reinterpret_cast<fiemap*>(buffer.data());
  uint64_t start = 0;
  int64_t own = 0;
  for (;;) {
    std::memset(map, 0, sizeof(fiemap));
    map->fm_start = start;
    map->fm_length = FIEMAP_MAX_OFFSET - start;
    map->fm_flags = FIEMAP_FLAG_SYNC;
    map->fm_extent_count = kExtentsPerCall;
    if (::ioctl(fd, FS_IOC_FIEMAP, map) != 0) {
      if (errno == EOPNOTSUPP || errno == ENOTTY || errno == EINVAL) return allocatedSize(fd);
      return std::nullopt;
    }
    if (map->fm_mapped_extents == 0) return own;
    bool last = false;
    for (unsigned i = 0; i < map->fm_mapped_extents; ++i) {
      const fiemap_extent& extent = map->fm_extents[i];
      if (!(extent.fe_flags & FIEMAP_EXTENT_SHARED)) own += static_cast<int64_t>(extent.fe_length);
      last = last || (extent.fe_flags & FIEMAP_EXTENT_LAST);
      start = extent.fe_logical + extent.fe_length;
    }
    if (last) return own;
  }
}

int64_t cachePageSize() {
  static const int64_t size = ::sysconf(_SC_PAGESIZE);
  return size;
}

// mincore on a mapping of the range: mapping reads nothing, and the kernel answers
// for the file's pages in the cache (for files the caller owns or may write).
std::optional<std::vector<bool>> cachedPages(int fd, int64_t offset, int64_t length) {
  if (length <= 0) return std::vector<bool>{};
  const int64_t page = cachePageSize();
  const int64_t start = offset / page * page;
  const auto span = static_cast<size_t>(offset + length - start);
  void* mapping = ::mmap(nullptr, span, PROT_READ, MAP_SHARED, fd, start);
  if (mapping == MAP_FAILED) return std::nullopt;
  std::vector<unsigned char> flags((span + static_cast<size_t>(page) - 1) / static_cast<size_t>(page));
  const bool known = ::mincore(mapping, span, flags.data()) == 0;
  ::munmap(mapping, span);
  if (!known) return std::nullopt;
  std::vector<bool> cached(flags.size());
  for (size_t i = 0; i < flags.size(); ++i) cached[i] = flags[i] & 1;
  return cached;
}

void releaseCache(int fd, int64_t offset, int64_t length) {
  ::posix_fadvise(fd, offset, length, POSIX_FADV_DONTNEED);
}

void readsWillJump(int fd) { ::posix_fadvise(fd, 0, 0, POSIX_FADV_RANDOM); }

// Linux keeps no file contents elsewhere behind a local name.
bool isDataless(int) { return false; }

}  // namespace tallyfin::platform
