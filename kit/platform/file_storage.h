#pragma once

#include <cstdint>
#include <optional>
#include <vector>

namespace tallyfin::platform {

// Bytes of the open file that no other file shares (reflinked or cloned extents
// are shared); the allocated size where the file system cannot tell; none on error.
std::optional<int64_t> privateSize(int fd);

// The size of one page of the page cache.
int64_t cachePageSize();

// For each page of the open file from the one holding `offset` through the one
// holding `offset + length - 1`: whether the page cache holds it. None when the
// system can't tell; files of other owners may read as not cached.
std::optional<std::vector<bool>> cachedPages(int fd, int64_t offset, int64_t length);

// Drops the file's bytes from the page cache, where nothing else holds them.
void releaseCache(int fd, int64_t offset, int64_t length);

// Tells the system the reads of this open file jump around (samples), so it does
// not read ahead past what is asked for.
void readsWillJump(int fd);

// Whether the file's data is somewhere else (an online-only cloud file) and
// reading it would start a download.
bool isDataless(int fd);

}  // namespace tallyfin::platform
