#pragma once

#include <cstdint>
#include <optional>

namespace tallyfin::platform {

// Bytes of the open file that no other file shares (reflinked or cloned extents
// are shared); the allocated size where the file system cannot tell; none on error.
std::optional<int64_t> privateSize(int fd);

// Tells the system the bytes just read will not be needed again, so hashing many
// gigabytes does not push the user's working set out of memory.
void releaseCache(int fd, int64_t offset, int64_t length);

// Tells the system the reads of this open file jump around (samples), so it does
// not read ahead past what is asked for.
void readsWillJump(int fd);

// Whether the file's data is somewhere else (an online-only cloud file) and
// reading it would start a download.
bool isDataless(int fd);

}  // namespace tallyfin::platform
