#include "kit/tools/duplicate_finder.h"

#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <set>
#include <thread>
#include <utility>

#include "kit/base/paths.h"
#include "kit/platform/io_priority.h"
#include "kit/scan/directory_reader.h"
#include "kit/scan/mount_table.h"
#include "kit/tools/content_classes.h"
#include "kit/tools/file_facts.h"

namespace tallyfin {
namespace {

// Enough reads in flight to keep an SSD busy; more would only thrash a spinning disk.
constexpr size_t kHashWorkers = 4;
constexpr int64_t kFingerprintBytes = 3 * FileFacts::kBlock;
constexpr int64_t kSampledBytes = 5 * FileFacts::kBlock;
constexpr int64_t kListingReportEvery = 1'000;

using Hashes = std::vector<std::optional<std::string>>;

// Bytes hashed against bytes planned, told to the caller as they move.
class ProgressMeter {
 public:
  explicit ProgressMeter(const DuplicateProgressCallback& callback) : callback_(callback) {}

  void plan(int64_t bytes) {
    const std::lock_guard guard(lock_);
    progress_.totalBytes += bytes;
    report();
  }
  void advance(int64_t bytes) {
    const std::lock_guard guard(lock_);
    // Small files read more than their size in samples; the bar never runs past full.
    progress_.hashedBytes = std::min(progress_.hashedBytes + bytes, progress_.totalBytes);
    report();
  }

 private:
  void report() {
    if (callback_) callback_(progress_);
  }
  const DuplicateProgressCallback& callback_;
  std::mutex lock_;
  DuplicateProgress progress_;
};

// What one stage's reading of a file leaves for the next: the beginning of its
// dense hash, good while the file stays the version it was read as.
struct Carry {
  std::optional<std::string> version;
  std::optional<Sha256> sampledStart;
};
using Carries = std::map<const DuplicateCandidate*, Carry>;

// One way of hashing a file, with what it is expected to read.
struct Stage {
  DuplicateCache::Kind (*kind)(int64_t size);  // the hash that sorts files at this stage
  int64_t (*planned)(int64_t size);
  DuplicateCache::Hashes (*compute)(const std::string& path, int64_t size, const ReadWatch& watch, Carry* carry);

  bool readsWhole(int64_t size) const {
    return kind(size) != DuplicateCache::Kind::head && size <= FileFacts::kWholeFileLimit;
  }
};

DuplicateCache::Hashes only(DuplicateCache::Kind kind, std::optional<std::string> value) {
  if (!value) return {};
  return {{kind, std::move(*value)}};
}

const Stage kHeadStage{
    [](int64_t) { return DuplicateCache::Kind::head; },
    [](int64_t size) { return std::min(size, FileFacts::kHead); },
    [](const std::string& path, int64_t size, const ReadWatch& watch, Carry*) {
      return only(DuplicateCache::Kind::head, FileFacts::headHash(path, size, watch));
    }};

// A small file is read once, whole: its dense hash is the hash of all its bytes,
// and sorts it as well as a fingerprint would, where the samples alone would
// read most of it twice.
const Stage kFingerprintStage{
    [](int64_t size) {
      return size <= FileFacts::kWholeFileLimit ? DuplicateCache::Kind::sampled : DuplicateCache::Kind::fingerprint;
    },
    [](int64_t size) { return size <= FileFacts::kWholeFileLimit ? size : kFingerprintBytes; },
    [](const std::string& path, int64_t size, const ReadWatch& watch, Carry* carry) {
      if (size > FileFacts::kWholeFileLimit) {
        if (carry) carry->version = FileFacts::identity(path);
        return only(DuplicateCache::Kind::fingerprint,
                    FileFacts::fingerprint(path, size, watch, carry ? &carry->sampledStart : nullptr));
      }
      const auto whole = FileFacts::sampledHash(path, size, watch);
      if (!whole) return DuplicateCache::Hashes{};
      return DuplicateCache::Hashes{{DuplicateCache::Kind::sampled, *whole}, {DuplicateCache::Kind::full, *whole}};
    }};

// Goes on from the fingerprint's reading where it can: the first and last MiB are
// not read again.
const Stage kSampledStage{
    [](int64_t) { return DuplicateCache::Kind::sampled; },
    [](int64_t size) { return std::min(size, kSampledBytes); },
    [](const std::string& path, int64_t size, const ReadWatch& watch, Carry* carry) {
      std::optional<Sha256> started;
      if (carry && carry->sampledStart && carry->version && FileFacts::identity(path) == carry->version) {
        started = std::move(carry->sampledStart);
      }
      return only(DuplicateCache::Kind::sampled, FileFacts::sampledHash(path, size, watch, std::move(started)));
    }};

void addToStats(const DuplicateSearch& search, const std::function<void(DuplicateStats::Counts&)>& change) {
  if (search.stats) search.stats->update(change);
}

bool cancelled(const DuplicateSearch& search) { return search.cancel && search.cancel->isCancelled(); }

// Runs body(i) for every i below count on a few low-priority workers.
void forEachInParallel(size_t count, const std::function<void(size_t)>& body) {
  std::atomic<size_t> next{0};
  const auto work = [&] {
    const platform::LowIoPriority background;
    for (size_t i = next++; i < count; i = next++) body(i);
  };
  std::vector<std::jthread> workers;
  const size_t extra = std::min(kHashWorkers, count) - (count > 0 ? 1 : 0);
  for (size_t w = 0; w < extra; ++w) workers.emplace_back(work);
  work();
}

// The hash of every file, read through the cache; none where reading failed or
// the search was cancelled first.
// A watch on one file's reads: they move the progress bar and add up in `read`.
ReadWatch countedWatch(const DuplicateSearch& search, ProgressMeter& meter, PageCacheLedger& pages,
                       int64_t& read) {
  return ReadWatch(
      search.cancel,
      [&meter, &read](int64_t bytes) {
        read += bytes;
        meter.advance(bytes);
      },
      &pages);
}

Hashes hashAll(const std::vector<const DuplicateCandidate*>& files, const Stage& stage,
               const DuplicateSearch& search, DuplicateCache& cache, ProgressMeter& meter,
               PageCacheLedger& pages, Carries* carries) {
  for (const DuplicateCandidate* file : files) {
    meter.plan(stage.planned(file->size));
    if (carries) (*carries)[file];  // made here: the workers only look them up
  }
  Hashes hashes(files.size());
  forEachInParallel(files.size(), [&](size_t i) {
    if (cancelled(search)) return;
    const DuplicateCandidate& file = *files[i];
    int64_t read = 0;
    const ReadWatch watch = countedWatch(search, meter, pages, read);
    Carry* carry = carries ? &carries->at(&file) : nullptr;
    hashes[i] = cache.hash(file.path, stage.kind(file.size),
                           [&] { return stage.compute(file.path, file.size, watch, carry); });
    // Known from an earlier run, or partly read by the stage before.
    meter.advance(std::max<int64_t>(stage.planned(file.size) - read, 0));
    if (!hashes[i]) return;
    addToStats(search, [&](DuplicateStats::Counts& counts) {
      counts.bytes += read;
      if (&stage == &kFingerprintStage) counts.fingerprinted += 1;
      if (read > 0 && stage.readsWhole(file.size)) counts.fullyRead += 1;
    });
  });
  return hashes;
}

// Files of one size, each set kept only when it holds two or more.
using Groups = std::vector<std::vector<const DuplicateCandidate*>>;

template <class Key>
Groups keepShared(std::map<Key, std::vector<const DuplicateCandidate*>>& byKey) {
  Groups groups;
  for (auto& [key, files] : byKey) {
    if (files.size() >= 2) groups.push_back(std::move(files));
  }
  return groups;
}

// Splits every group by the stage's hash; files without a hash drop out.
std::pair<Groups, std::vector<std::string>> regroup(const Groups& groups, const Stage& stage,
                                                    const DuplicateSearch& search, DuplicateCache& cache,
                                                    ProgressMeter& meter, PageCacheLedger& pages,
                                                    Carries* carries = nullptr) {
  std::vector<const DuplicateCandidate*> files;
  for (const auto& group : groups) files.insert(files.end(), group.begin(), group.end());
  const Hashes hashes = hashAll(files, stage, search, cache, meter, pages, carries);
  std::map<std::pair<int64_t, std::string>, std::vector<const DuplicateCandidate*>> byHash;
  for (size_t i = 0; i < files.size(); ++i) {
    if (hashes[i]) byHash[{files[i]->size, *hashes[i]}].push_back(files[i]);
  }
  std::vector<std::string> keys;
  for (const auto& [key, members] : byHash) {
    if (members.size() >= 2) keys.push_back(key.second);
  }
  return {keepShared(byHash), std::move(keys)};
}

// The full stage. Files whose full hash is known from an earlier search are not
// read; the others of each group are compared side by side, and only one file of
// each class of identical files is hashed.
std::pair<Groups, std::vector<std::string>> compareFully(const Groups& groups, const DuplicateSearch& search,
                                                         DuplicateCache& cache, ProgressMeter& meter,
                                                         PageCacheLedger& pages) {
  for (const auto& group : groups) meter.plan(group.front()->size * static_cast<int64_t>(group.size()));
  std::vector<std::map<std::string, std::vector<const DuplicateCandidate*>>> byHash(groups.size());
  forEachInParallel(groups.size(), [&](size_t g) {
    if (cancelled(search)) return;
    const auto& group = groups[g];
    const int64_t size = group.front()->size;
    auto& found = byHash[g];
    std::vector<const DuplicateCandidate*> unknown;
    std::vector<std::string> paths, keys;
    for (const DuplicateCandidate* file : group) {
      const auto key = FileFacts::identity(file->path);
      if (!key) continue;
      if (auto known = cache.cached(*key, DuplicateCache::Kind::full)) {
        found[*known].push_back(file);
      } else {
        unknown.push_back(file);
        paths.push_back(file->path);
        keys.push_back(*key);
      }
    }
    int64_t read = 0;
    const ReadWatch watch = countedWatch(search, meter, pages, read);
    // A file unlike the others may still match a known hash.
    const auto classes = ContentClasses::split(paths, size, !found.empty(), watch);
    int64_t fullyRead = 0;
    for (const ContentClass& identical : classes) {
      for (const size_t i : identical.members) {
        cache.remember(paths[i], keys[i], {{DuplicateCache::Kind::full, identical.sha256}});
        found[identical.sha256].push_back(unknown[i]);
      }
      fullyRead += static_cast<int64_t>(identical.members.size());
    }
    // What was known, or let go once it differed, counts as done.
    meter.advance(size * static_cast<int64_t>(group.size()) - read);
    addToStats(search, [&](DuplicateStats::Counts& counts) {
      counts.bytes += read;
      counts.fullyRead += fullyRead;
    });
  });
  Groups identical;
  std::vector<std::string> hashes;
  for (auto& found : byHash) {
    for (auto& [hash, files] : found) {
      if (files.size() < 2) continue;
      std::sort(files.begin(), files.end(), std::less<>());  // the order they were listed in
      identical.push_back(std::move(files));
      hashes.push_back(hash);
    }
  }
  return {std::move(identical), std::move(hashes)};
}

// Files that left the groups are not read again: what reading them brought into
// the page cache goes now, the rest when the search is done.
void releaseDropped(const Groups& before, const Groups& after, PageCacheLedger& pages) {
  std::set<const DuplicateCandidate*> kept;
  for (const auto& group : after) kept.insert(group.begin(), group.end());
  for (const auto& group : before) {
    for (const DuplicateCandidate* file : group) {
      if (!kept.contains(file)) pages.release(file->path);
    }
  }
}

// The candidates worth reading: big enough, the user's own, counted once per
// inode, and with their data really on disk.
std::vector<DuplicateCandidate> usableCandidates(const std::vector<DuplicateCandidate>& given,
                                        const DuplicateSearch& search) {
  std::vector<DuplicateCandidate> usable;
  std::set<std::pair<dev_t, ino_t>> seen;
  for (const auto& candidate : given) {
    if (candidate.size < search.minimum || !DuplicateFinder::isUserFile(candidate.path, search.home)) continue;
    struct stat info;
    if (::lstat(candidate.path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) continue;
    if (info.st_size < search.minimum || !seen.insert({info.st_dev, info.st_ino}).second) continue;
    // Sparse, compressed or evicted files would give false sizes and slow reads.
    if (static_cast<int64_t>(info.st_blocks) * 512 < info.st_size / 2) continue;
    usable.push_back({candidate.path, info.st_size, info.st_mtim.tv_sec});
  }
  return usable;
}

}  // namespace

DuplicateStats::Counts DuplicateStats::counts() const {
  const std::lock_guard guard(lock_);
  return counts_;
}

void DuplicateStats::update(const std::function<void(Counts&)>& change) {
  const std::lock_guard guard(lock_);
  change(counts_);
}

namespace DuplicateFinder {

std::vector<DuplicateGroup> find(const std::vector<DuplicateCandidate>& given,
                                 const DuplicateSearch& search) {
  const platform::LowIoPriority background;
  const std::vector<DuplicateCandidate> candidates = usableCandidates(given, search);
  addToStats(search, [&](DuplicateStats::Counts& counts) {
    counts.candidates += static_cast<int64_t>(candidates.size());
  });

  std::map<int64_t, std::vector<const DuplicateCandidate*>> bySize;
  for (const auto& candidate : candidates) bySize[candidate.size].push_back(&candidate);
  const Groups sameSize = keepShared(bySize);
  addToStats(search, [&](DuplicateStats::Counts& counts) {
    for (const auto& group : sameSize) counts.sameSize += static_cast<int64_t>(group.size());
  });

  // Without the caller's cache a search still keeps what one stage learns for the next.
  DuplicateCache memoryOnly;
  DuplicateCache& cache = search.cache ? *search.cache : memoryOnly;
  ProgressMeter meter(search.progress);
  // Pages that were cached before the search stay; those it brought in go.
  PageCacheLedger pages;
  const Groups sameHead = regroup(sameSize, kHeadStage, search, cache, meter, pages).first;
  releaseDropped(sameSize, sameHead, pages);
  // Comparing reads a small file whole anyway: fingerprinting it first would only add hashing.
  Groups toFingerprint, toCompareNow;
  for (const auto& group : sameHead) {
    const bool small = group.front()->size <= FileFacts::kWholeFileLimit;
    (search.fullHash && small ? toCompareNow : toFingerprint).push_back(group);
  }
  // What the fingerprints read of large files goes on into their dense hashes.
  Carries carries;
  Carries* carried = search.fullHash ? nullptr : &carries;
  Groups similar = regroup(toFingerprint, kFingerprintStage, search, cache, meter, pages, carried).first;
  similar.insert(similar.end(), toCompareNow.begin(), toCompareNow.end());
  releaseDropped(sameHead, similar, pages);
  if (cancelled(search)) return {};
  const auto [identical, hashes] = search.fullHash ? compareFully(similar, search, cache, meter, pages)
                                                    : regroup(similar, kSampledStage, search, cache, meter, pages, carried);
  pages.releaseAll();

  std::vector<DuplicateGroup> groups;
  for (size_t g = 0; g < identical.size(); ++g) {
    DuplicateGroup group{hashes[g], identical[g].front()->size, {}, search.fullHash};
    for (const DuplicateCandidate* file : identical[g]) {
      group.files.push_back({file->path, file->modified, FileFacts::privateSize(file->path).value_or(0)});
    }
    groups.push_back(std::move(group));
  }
  std::stable_sort(groups.begin(), groups.end(), [](const DuplicateGroup& a, const DuplicateGroup& b) {
    return a.reclaimable() > b.reclaimable();
  });
  return groups;
}

std::vector<DuplicateCandidate> candidates(const std::vector<LargeFile>& largeFiles) {
  std::vector<DuplicateCandidate> found;
  found.reserve(largeFiles.size());
  for (const auto& file : largeFiles) found.push_back({file.path, file.size, file.modified});
  return found;
}

CollectedFiles collect(const std::string& folder, const DuplicateSearch& search, size_t limit) {
  CollectedFiles collected;
  DirectoryReader reader(MountTable::current());
  struct stat top;
  if (::stat(folder.c_str(), &top) != 0) return collected;
  int64_t listed = 0;
  const auto report = [&] {
    if (search.progress) search.progress({0, 0, listed});
  };
  std::vector<std::string> pending{folder};
  while (!pending.empty() && !cancelled(search)) {
    const std::string current = std::move(pending.back());
    pending.pop_back();
    const auto listing = reader.list(current);
    if (!listing) continue;  // an unreadable folder holds nothing we can compare
    for (const DirEntry& entry : *listing) {
      const std::string path = joinPath(current, entry.rawName);
      if (entry.isDirectory) {
        // A folder is entered when a file inside it would count as the user's.
        if (entry.device != -1 && isUserFile(path + "/-", search.home)) pending.push_back(path);
        continue;
      }
      if (++listed % kListingReportEvery == 0) report();
      if (entry.logicalSize < search.minimum || !isUserFile(path, search.home)) continue;
      if (collected.candidates.size() >= limit) {
        collected.truncated = true;
        return collected;
      }
      collected.candidates.push_back({path, entry.logicalSize, entry.modified});
    }
  }
  report();
  return collected;
}

std::string searchHome(const std::string& folder, const std::string& home) {
  if (folder == home || folder.starts_with(home + "/")) return home;
  // Below "/" every path is inside; the empty base makes "/" + relative work out.
  return folder == "/" ? std::string() : folder;
}

}  // namespace DuplicateFinder
}  // namespace tallyfin
