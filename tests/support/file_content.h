#pragma once

// Files whose bytes a test controls, for the hashing and comparing code.

#include <cstdint>
#include <string>

namespace tallyfin::testing {

inline constexpr int64_t MiB = 1'048'576;

// `size` bytes in which every 4 KiB page differs, so any misplaced read changes a
// hash; files of one `seed` are identical, files of different seeds differ everywhere.
void patternFile(const std::string& path, int64_t size, int seed = 0);

// Changes the byte at `offset`, leaving the size alone.
void flipByte(const std::string& path, int64_t offset);

// Sets the modification time in whole seconds since 1970.
void setModified(const std::string& path, int64_t seconds);

// Sets the access time in whole seconds since 1970.
void setAccessed(const std::string& path, int64_t seconds);

}  // namespace tallyfin::testing
