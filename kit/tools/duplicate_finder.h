#pragma once

// The duplicate search: a folder listed into candidates, then narrowed by size,
// the first 64 KiB, a quick fingerprint and a dense hash, so that most files are
// never read past a few samples; or, for a full search, by comparing what is left
// byte for byte.

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "kit/scan/scan_progress.h"
#include "kit/store/large_file.h"
#include "kit/tools/duplicate_cache.h"
#include "kit/tools/duplicate_group.h"

namespace tallyfin {

struct DuplicateCandidate {
  std::string path;
  int64_t size = 0;
  int64_t modified = 0;
};

struct DuplicateProgress {
  int64_t hashedBytes = 0;
  int64_t totalBytes = 0;                 // what the current plan will read
  std::optional<int64_t> listedFiles;     // only while a folder is listed
};

// Called from the hashing workers as well as the caller's thread.
using DuplicateProgressCallback = std::function<void(const DuplicateProgress&)>;

// What a search did, for its summary; safe to update from several threads.
class DuplicateStats {
 public:
  struct Counts {
    int64_t candidates = 0;     // files considered
    int64_t sameSize = 0;       // files sharing their size with another
    int64_t fingerprinted = 0;  // files that got a quick fingerprint
    int64_t fullyRead = 0;      // files hashed from the first byte to the last
    int64_t bytes = 0;          // bytes read
  };

  Counts counts() const;
  void update(const std::function<void(Counts&)>& change);

 private:
  mutable std::mutex lock_;
  Counts counts_;
};

struct DuplicateSearch {
  std::string home;  // only the user's own files under it are searched
  int64_t minimum = 0;
  bool fullHash = false;
  DuplicateCache* cache = nullptr;
  const CancelToken* cancel = nullptr;
  DuplicateStats* stats = nullptr;
  DuplicateProgressCallback progress;
};

struct CollectedFiles {
  std::vector<DuplicateCandidate> candidates;
  bool truncated = false;  // the file limit was reached; the rest was not listed
};

namespace DuplicateFinder {

inline constexpr int64_t kDefaultMinimum = 100'000'000;
// A folder search looks at smaller files: what a folder holds twice is seldom big.
inline constexpr int64_t kFolderMinimum = 1'000'000;
inline constexpr size_t kFileLimit = 250'000;

// Groups of identical files, most reclaimable space first. A cancelled search
// returns the groups it finished.
std::vector<DuplicateGroup> find(const std::vector<DuplicateCandidate>& candidates,
                                 const DuplicateSearch& search);

// The last scan's large files as candidates of a search.
std::vector<DuplicateCandidate> candidates(const std::vector<LargeFile>& largeFiles);

// Every user file of at least the search's minimum size under `folder`, without
// crossing into other file systems, up to `limit` files.
CollectedFiles collect(const std::string& folder, const DuplicateSearch& search,
                       size_t limit = kFileLimit);

// The folder that stands for home in a folder search: home itself, or the folder
// when it lies outside home (the user chose it, so its files count as theirs).
std::string searchHome(const std::string& folder, const std::string& home);

}  // namespace DuplicateFinder
}  // namespace tallyfin
