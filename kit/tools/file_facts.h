#pragma once

// File primitives of the duplicate finder and the model inventory: hashes that
// read as little as possible, a byte-for-byte comparison, a key that changes with
// every new version of a file, and the bytes a file does not share with a clone.

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>

#include "kit/scan/scan_progress.h"
#include "kit/tools/page_cache_ledger.h"
#include "kit/tools/sha256.h"

namespace tallyfin {

// What a hashing caller wants to hear while a file is read: whether to stop, and
// how many bytes each read brought in (for progress and for counting the cost);
// and the ledger of the pages the caller's reading brings into the cache. Without
// one, each call drops what it brought in before it returns.
struct ReadWatch {
  ReadWatch(const CancelToken* cancelToken = nullptr, std::function<void(int64_t)> onRead = {},
            PageCacheLedger* ledger = nullptr)
      : cancel(cancelToken), counted(std::move(onRead)), pages(ledger) {}
  const CancelToken* cancel;
  std::function<void(int64_t)> counted;
  PageCacheLedger* pages;

  bool stopped() const { return cancel && cancel->isCancelled(); }
};

// An open file for reading, closed when it goes.
class ReadableFile {
 public:
  ReadableFile(ReadableFile&& other) noexcept
      : fd_(other.fd_), size_(other.size_), path_(std::move(other.path_)) {
    other.fd_ = -1;
  }
  ReadableFile(const ReadableFile&) = delete;
  ReadableFile& operator=(const ReadableFile&) = delete;
  ReadableFile& operator=(ReadableFile&&) = delete;
  ~ReadableFile();

  int fd() const { return fd_; }
  // The reads that follow take samples; nothing around them is wanted.
  void willSample() const;
  // The reads that follow go through the whole file: the watch's ledger notes what
  // was cached before the system's read-ahead brings in more than each read asks for.
  void willReadWhole(const ReadWatch& watch) const;
  int64_t size() const { return size_; }

  // Reads up to buffer.size() bytes at `offset`, retrying interrupted reads; the
  // count read, or none on an error or once the watch says stop.
  std::optional<size_t> read(int64_t offset, std::span<char> buffer,
                             const ReadWatch& watch = {}) const;

 private:
  friend class FileFacts;
  ReadableFile(int fd, int64_t size, std::string path) : fd_(fd), size_(size), path_(std::move(path)) {}
  int fd_;
  int64_t size_;
  std::string path_;
};

class FileFacts {
 public:
  static constexpr int64_t kBlock = 1'048'576;
  static constexpr int64_t kWholeFileLimit = 8'388'608;
  static constexpr int64_t kSample = 65'536;
  static constexpr int kMiddleSamples = 48;
  static constexpr int64_t kHead = 65'536;

  // A regular file, never through a link, never one whose reading would download it.
  static std::optional<ReadableFile> openForReading(const std::string& path);

  // SHA-256 of the size and the first 64 KiB: most different files of one size
  // part here, for almost no reading.
  static std::optional<std::string> headHash(const std::string& path, int64_t size,
                                             const ReadWatch& watch = {});

  // SHA-256 of the size and three 1 MiB samples: start, middle, end. For a file
  // above 8 MiB, `sampledStart` receives the beginning of its sampled hash, to be
  // given back to sampledHash.
  static std::optional<std::string> fingerprint(const std::string& path, int64_t size,
                                                const ReadWatch& watch = {},
                                                std::optional<Sha256>* sampledStart = nullptr);

  // The whole file up to 8 MiB; beyond, the size, the first and last MiB and 48
  // samples of 64 KiB between them, the first three `started` by fingerprint.
  static std::optional<std::string> sampledHash(const std::string& path, int64_t size,
                                                const ReadWatch& watch = {},
                                                std::optional<Sha256> started = std::nullopt);

  // SHA-256 of the whole content.
  static std::optional<std::string> sha256(const std::string& path, const ReadWatch& watch = {});

  // Same size and the same bytes, compared block by block.
  static bool identical(const std::string& a, const std::string& b, const ReadWatch& watch = {});

  // device:inode:size:modified:changed, times with nanoseconds; regular files only.
  static std::optional<std::string> identity(const std::string& path);

  // Bytes that belong to this file alone: none shared with a clone, and none at all
  // when another hard link keeps the file.
  static std::optional<int64_t> privateSize(const std::string& path);

  static std::string hex(std::span<const unsigned char> digest);
};

}  // namespace tallyfin
