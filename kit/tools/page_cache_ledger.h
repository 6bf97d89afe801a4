#pragma once

// Reading gigabytes to compare files fills the page cache. Dropping every page
// after reading it is no better: the next stage of the search reads some again
// from the disk, and files that other programs had cached are gone. The ledger
// notes, before each read, which of the pages were cached already; afterwards it
// drops exactly the pages that the reading brought in, and nothing else.

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace tallyfin {

class PageCacheLedger {
 public:
  PageCacheLedger() = default;
  PageCacheLedger(const PageCacheLedger&) = delete;
  PageCacheLedger& operator=(const PageCacheLedger&) = delete;
  // Whatever is still noted is dropped.
  ~PageCacheLedger();

  // Before `length` bytes at `offset` of the open file `fd` (known as `path`) are
  // read: notes which of their pages, not seen before, are cached now. Reads of one
  // file come from one thread at a time; different files may be read in parallel.
  void beforeRead(const std::string& path, int fd, int64_t offset, int64_t length);

  // Drops the pages of `path` that reading brought into the cache and forgets the file.
  void release(const std::string& path);
  void releaseAll();

 private:
  enum class Page : uint8_t { unseen, wasCached, broughtIn };
  std::vector<Page>& pagesOf(const std::string& path);
  static void drop(const std::string& path, const std::vector<Page>& pages);

  std::mutex lock_;
  std::map<std::string, std::vector<Page>, std::less<>> files_;
};

}  // namespace tallyfin
