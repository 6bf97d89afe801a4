#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "kit/platform/bulk_directory.h"

namespace tallyfin::platform {
namespace {

constexpr unsigned kStatxMask = STATX_TYPE | STATX_MODE | STATX_NLINK | STATX_INO | STATX_SIZE |
                                STATX_BLOCKS | STATX_MTIME | STATX_ATIME;
// Never follow a link, never wake an automounter, never wait for a network server to sync.
constexpr int kStatxFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;

bool isDotOrDotDot(const char* name) {
  return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

}  // namespace

int32_t deviceId(uint64_t device) {
  return static_cast<int32_t>(static_cast<uint32_t>(device));
}

// getdents64 fills the reader's buffer with names; statx relative to the open
// directory fills in the metadata without resolving a path from the root.
BulkStatus listBulk(int directoryFd, std::span<char> buffer, EntrySink& sink, int& errorCode) {
  for (;;) {
    const long count = syscall(SYS_getdents64, directoryFd, buffer.data(), buffer.size());
    if (count == 0) return BulkStatus::listed;
    if (count < 0) {
      errorCode = errno;
      if (errorCode == EINVAL || errorCode == ENOTSUP || errorCode == ENOSYS) {
        return BulkStatus::notSupported;
      }
      return BulkStatus::failed;
    }
    for (long offset = 0; offset < count;) {
      // glibc's dirent64 has the kernel's record layout; records are only as long as their name.
      const auto* record = reinterpret_cast<const struct dirent64*>(buffer.data() + offset);
      offset += record->d_reclen;
      if (isDotOrDotDot(record->d_name)) continue;
      struct statx info;
      if (statx(directoryFd, record->d_name, kStatxFlags, kStatxMask, &info) != 0) {
        continue;  // vanished since it was listed
      }
      RawEntry entry;
      entry.name = std::string_view(record->d_name);
      entry.isDirectory = S_ISDIR(info.stx_mode);
      entry.device = makedev(info.stx_dev_major, info.stx_dev_minor);
      entry.modified = info.stx_mtime.tv_sec;
      entry.accessed = info.stx_atime.tv_sec;
      entry.inode = info.stx_ino;
      if (entry.isDirectory) {
        entry.linkCount = 1;
      } else {
        entry.linkCount = info.stx_nlink;
        entry.logicalSize = static_cast<int64_t>(info.stx_size);
        entry.allocatedSize = static_cast<int64_t>(info.stx_blocks) * 512;
      }
      sink.add(entry);
    }
  }
}

}  // namespace tallyfin::platform
