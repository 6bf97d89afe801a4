#include "kit/tools/file_facts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

#include "kit/platform/file_storage.h"
#include "kit/tools/sha256.h"

namespace tallyfin {
namespace {

// The caller's watch with a page ledger: the caller's own, or one of this call's
// that drops what the call brought into the cache when the call is done.
class SparingWatch {
 public:
  explicit SparingWatch(const ReadWatch& watch) : watch_(watch) {
    if (!watch_.pages) watch_.pages = &own_;
  }
  const ReadWatch& get() const { return watch_; }

 private:
  PageCacheLedger own_;
  ReadWatch watch_;
};

// The block buffer of this thread's hashing, kept from file to file: a fresh one
// for every file cost more in page faults and zeroing than the reading.
std::span<char> blockBuffer() {
  thread_local const auto buffer = std::make_unique_for_overwrite<char[]>(FileFacts::kBlock);
  return {buffer.get(), static_cast<size_t>(FileFacts::kBlock)};
}

// Where the three 1 MiB samples of a fingerprint start: beginning, middle, end.
std::array<int64_t, 3> fingerprintOffsets(int64_t size) {
  const int64_t half = FileFacts::kBlock / 2;
  return {0, std::max(size / 2, half) - half, std::max(size - FileFacts::kBlock, int64_t{0})};
}

struct Range {
  int64_t offset;
  int64_t length;  // at most one block
};

// Called after each range is added to a hash, with the bytes it added.
using RangeHook = std::function<void(size_t index, const Sha256& hash, std::span<const char> bytes)>;

Sha256 startedWithSize(int64_t size) {
  Sha256 hash;
  hash.addSize(size);
  return hash;
}

// The given ranges added, in order, to `hash` (which usually holds the size).
std::optional<std::string> hashSamples(const std::string& path, Sha256 hash, const std::vector<Range>& ranges,
                                       const ReadWatch& given, const RangeHook& hook = {}) {
  const SparingWatch sparing(given);
  const ReadWatch& watch = sparing.get();
  auto file = FileFacts::openForReading(path);
  if (!file) return std::nullopt;
  file->willSample();
  for (size_t i = 0; i < ranges.size(); ++i) {
    const std::span<char> buffer = blockBuffer().first(static_cast<size_t>(std::min(ranges[i].length, FileFacts::kBlock)));
    const auto count = file->read(ranges[i].offset, buffer, watch);
    if (!count) return std::nullopt;
    hash.add(buffer.data(), *count);
    if (hook) hook(i, hash, buffer.first(*count));
  }
  return hash.finish();
}

std::optional<std::string> hashWhole(const std::string& path, const ReadWatch& given) {
  const SparingWatch sparing(given);
  const ReadWatch& watch = sparing.get();
  auto file = FileFacts::openForReading(path);
  if (!file) return std::nullopt;
  file->willReadWhole(watch);
  const std::span<char> buffer = blockBuffer();
  Sha256 hash;
  for (int64_t offset = 0;;) {
    const auto count = file->read(offset, buffer, watch);
    if (!count) return std::nullopt;
    if (*count == 0) break;
    hash.add(buffer.data(), *count);
    offset += static_cast<int64_t>(*count);
  }
  return hash.finish();
}

}  // namespace

ReadableFile::~ReadableFile() {
  if (fd_ >= 0) ::close(fd_);
}

void ReadableFile::willSample() const { platform::readsWillJump(fd_); }

void ReadableFile::willReadWhole(const ReadWatch& watch) const {
  if (watch.pages) watch.pages->beforeRead(path_, fd_, 0, size_);
}

std::optional<size_t> ReadableFile::read(int64_t offset, std::span<char> buffer,
                                         const ReadWatch& watch) const {
  if (watch.pages) {
    watch.pages->beforeRead(path_, fd_, offset, std::min(static_cast<int64_t>(buffer.size()), size_ - offset));
  }
  size_t filled = 0;
  while (filled < buffer.size()) {
    if (watch.stopped()) return std::nullopt;
    const ssize_t count = ::pread(fd_, buffer.data() + filled, buffer.size() - filled,
                                  offset + static_cast<int64_t>(filled));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return std::nullopt;
    if (count == 0) break;
    filled += static_cast<size_t>(count);
  }
  if (watch.counted && filled > 0) watch.counted(static_cast<int64_t>(filled));
  return filled;
}

std::optional<ReadableFile> FileFacts::openForReading(const std::string& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  if (::fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || platform::isDataless(fd)) {
    ::close(fd);
    return std::nullopt;
  }
  return ReadableFile(fd, info.st_size, path);
}

std::optional<std::string> FileFacts::fingerprint(const std::string& path, int64_t size, const ReadWatch& watch,
                                                  std::optional<Sha256>* sampledStart) {
  std::vector<Range> ranges;
  for (const int64_t offset : fingerprintOffsets(size)) ranges.push_back({offset, kBlock});
  // The dense hash of a large file begins with the same first MiB and then takes
  // the same last one: both are added to it here, so they are read only once.
  const bool startSampled = sampledStart && size > kWholeFileLimit;
  std::optional<Sha256> sampled;
  const auto hash = hashSamples(path, startedWithSize(size), ranges, watch,
                                [&](size_t index, const Sha256& soFar, std::span<const char> bytes) {
                                  if (!startSampled) return;
                                  if (index == 0) sampled.emplace(soFar);
                                  if (index == 2) sampled->add(bytes.data(), bytes.size());
                                });
  if (hash && startSampled) *sampledStart = std::move(sampled);
  return hash;
}

std::optional<std::string> FileFacts::headHash(const std::string& path, int64_t size,
                                               const ReadWatch& watch) {
  return hashSamples(path, startedWithSize(size), {{0, kHead}}, watch);
}

std::optional<std::string> FileFacts::sampledHash(const std::string& path, int64_t size, const ReadWatch& watch,
                                                  std::optional<Sha256> started) {
  if (size <= kWholeFileLimit) return hashWhole(path, watch);
  std::vector<Range> ranges;
  if (!started) ranges = {{0, kBlock}, {size - kBlock, kBlock}};
  const int64_t span = size - 2 * kBlock - kSample;
  for (int i = 0; i < kMiddleSamples; ++i) ranges.push_back({kBlock + span * i / (kMiddleSamples - 1), kSample});
  return hashSamples(path, started ? std::move(*started) : startedWithSize(size), ranges, watch);
}

std::optional<std::string> FileFacts::sha256(const std::string& path, const ReadWatch& watch) {
  return hashWhole(path, watch);
}

bool FileFacts::identical(const std::string& a, const std::string& b, const ReadWatch& given) {
  const SparingWatch sparing(given);
  const ReadWatch& watch = sparing.get();
  auto first = openForReading(a);
  auto second = openForReading(b);
  if (!first || !second || first->size() != second->size()) return false;
  first->willReadWhole(watch);
  second->willReadWhole(watch);
  std::vector<char> left(kBlock), right(kBlock);
  for (int64_t offset = 0; offset < first->size(); offset += kBlock) {
    const auto one = first->read(offset, left, watch);
    const auto two = second->read(offset, right, watch);
    if (!one || !two || *one != *two || *one == 0) return false;
    if (std::memcmp(left.data(), right.data(), *one) != 0) return false;
  }
  return !watch.stopped();
}

std::optional<std::string> FileFacts::identity(const std::string& path) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  const auto time = [](const timespec& t) {
    char nanos[16];
    std::snprintf(nanos, sizeof nanos, "%09ld", static_cast<long>(t.tv_nsec));
    return std::to_string(t.tv_sec) + "." + nanos;
  };
  return std::to_string(info.st_dev) + ":" + std::to_string(info.st_ino) + ":" +
         std::to_string(info.st_size) + ":" + time(info.st_mtim) + ":" + time(info.st_ctim);
}

std::optional<int64_t> FileFacts::privateSize(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  // A file with another name keeps every byte when this name goes to the Trash.
  struct stat info;
  if (::fstat(fd, &info) == 0 && info.st_nlink > 1) {
    ::close(fd);
    return 0;
  }
  const auto size = platform::privateSize(fd);
  ::close(fd);
  return size;
}

std::string FileFacts::hex(std::span<const unsigned char> digest) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  text.reserve(digest.size() * 2);
  for (const unsigned char byte : digest) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 0xF];
  }
  return text;
}

}  // namespace tallyfin
