#pragma once

// Hashes remembered per file version, so a second duplicate search reads only
// the files that changed. Kept in the data folder as a binary property list.

#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "kit/base/error.h"
#include "kit/store/store.h"

namespace tallyfin {

class DuplicateCache {
 public:
  // `head` is the hash of a file's first 64 KiB; remembering it means files set
  // apart by it are not read again by the next search either.
  enum class Kind { fingerprint, sampled, full, head };
  using Hashes = std::map<Kind, std::string>;

  struct Entry {
    Hashes hashes;
    int64_t used = 0;  // the run that last read or wrote it
    bool operator==(const Entry&) const = default;
  };

  // What the file holds.
  struct Saved {
    int64_t run = 0;
    std::unordered_map<std::string, Entry> entries;  // by FileFacts::identity
    bool operator==(const Saved&) const = default;
  };

  static constexpr size_t kMostEntries = 60'000;

  // A cache that lives only as long as the search.
  DuplicateCache() = default;
  // The store's cache, one run on from the saved one; a missing or unreadable file
  // starts empty.
  explicit DuplicateCache(const Store& store);

  // The hash of this kind for the file as it is now, computed (and remembered)
  // only when no earlier run saw this version of it.
  std::optional<std::string> hash(const std::string& path, Kind kind,
                                  const std::function<std::optional<std::string>()>& compute);
  // The same, for a computation that finds other kinds on the same read; they are
  // remembered with it. No hash of `kind` among them means it could not be computed.
  std::optional<std::string> hash(const std::string& path, Kind kind, const std::function<Hashes()>& compute);

  // The hash of this kind remembered for the file version `key` (FileFacts::identity).
  std::optional<std::string> cached(const std::string& key, Kind kind);
  // Remembers hashes of the file at `path`, read while it was the version `key`;
  // nothing when it has changed since.
  void remember(const std::string& path, const std::string& key, const Hashes& hashes);

  // Writes the file when anything changed, keeping the most recently used entries.
  Status save();

  int64_t run() const;
  size_t size() const;

  static std::string encode(const Saved& saved);
  static std::optional<Saved> decode(std::string_view bytes);

 private:
  mutable std::mutex lock_;
  Saved saved_;
  bool dirty_ = false;
  std::optional<Store> store_;
};

}  // namespace tallyfin
