#pragma once

// The platform's fastest way to list a directory with each entry's metadata.

#include <cstdint>
#include <span>
#include <string_view>

namespace tallyfin::platform {

// One entry as the system reports it; the name is only valid during the callback.
struct RawEntry {
  std::string_view name;
  bool isDirectory = false;
  uint64_t device = 0;
  int64_t modified = 0;
  int64_t accessed = 0;
  uint64_t inode = 0;
  uint32_t linkCount = 0;
  int64_t logicalSize = 0;
  int64_t allocatedSize = 0;
};

class EntrySink {
 public:
  virtual void add(const RawEntry& entry) = 0;

 protected:
  ~EntrySink() = default;
};

enum class BulkStatus { listed, notSupported, failed };

// Lists the open directory into `sink` using `buffer` for the system's batches.
// Directories report link count 1 and sizes 0. On `failed`, `errorCode` holds the errno.
BulkStatus listBulk(int directoryFd, std::span<char> buffer, EntrySink& sink, int& errorCode);

// The 32-bit device id that entries and the scan root are compared by.
int32_t deviceId(uint64_t device);

}  // namespace tallyfin::platform
