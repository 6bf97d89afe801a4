#include "kit/tools/page_cache_ledger.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "kit/platform/file_storage.h"
#include "kit/tools/duplicate_finder.h"
#include "kit/tools/file_facts.h"
#include "tests/support/file_content.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::MiB;
using testing::patternFile;
using testing::TempFolder;

// An open file for the checks; closed when it goes.
class Open {
 public:
  explicit Open(const std::string& path) : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (fd_ < 0) throw std::runtime_error("cannot open " + path);
  }
  ~Open() { ::close(fd_); }
  int fd() const { return fd_; }

 private:
  int fd_;
};

int64_t fileSize(const std::string& path) { return static_cast<int64_t>(std::filesystem::file_size(path)); }

// How many of the file's pages the page cache holds.
size_t cachedCount(const std::string& path) {
  const Open file(path);
  const auto pages = platform::cachedPages(file.fd(), 0, fileSize(path));
  if (!pages) throw std::runtime_error("the page cache can't be asked about " + path);
  return static_cast<size_t>(std::count(pages->begin(), pages->end(), true));
}

size_t pageCount(const std::string& path) {
  const int64_t page = platform::cachePageSize();
  return static_cast<size_t>((fileSize(path) + page - 1) / page);
}

// Written to the disk and out of the cache, as if nobody had read it for long.
void evict(const std::string& path) {
  const Open file(path);
  ::fdatasync(file.fd());
  platform::releaseCache(file.fd(), 0, 0);
  if (cachedCount(path) != 0) throw std::runtime_error("could not evict " + path);
}

// Exactly the range: no read-ahead past it.
void readRange(const std::string& path, int64_t offset, int64_t length) {
  const Open file(path);
  platform::readsWillJump(file.fd());
  std::vector<char> buffer(static_cast<size_t>(length));
  if (::pread(file.fd(), buffer.data(), buffer.size(), offset) != length) throw std::runtime_error("short read");
}

TEST(PageCacheLedger, DropsOnlyThePagesItsReadsBroughtIn) {
  TempFolder dir;
  const std::string path = dir / "f";
  patternFile(path, 64 * platform::cachePageSize());
  evict(path);
  const int64_t half = 32 * platform::cachePageSize();
  readRange(path, 0, half);  // someone else's reading: the first half is cached
  {
    PageCacheLedger ledger;
    const Open file(path);
    ledger.beforeRead(path, file.fd(), 0, 2 * half);
    readRange(path, 0, 2 * half);
    // A second read of pages the ledger already saw changes nothing it knows.
    ledger.beforeRead(path, file.fd(), half, half);
    EXPECT_EQ(cachedCount(path), pageCount(path));
  }
  const Open file(path);
  const auto pages = platform::cachedPages(file.fd(), 0, 2 * half);
  ASSERT_TRUE(pages);
  EXPECT_EQ(std::count(pages->begin(), pages->begin() + 32, true), 32);
  EXPECT_EQ(std::count(pages->begin() + 32, pages->end(), true), 0);
}

TEST(PageCacheLedger, ReleasingOneFileLeavesTheOthersNotedUntilTheyAreReleased) {
  TempFolder dir;
  const std::string a = dir / "a", b = dir / "b";
  patternFile(a, 8 * platform::cachePageSize(), 1);
  patternFile(b, 8 * platform::cachePageSize(), 2);
  evict(a);
  evict(b);
  PageCacheLedger ledger;
  for (const auto& path : {a, b}) {
    const Open file(path);
    ledger.beforeRead(path, file.fd(), 0, fileSize(path));
    readRange(path, 0, fileSize(path));
  }
  ledger.release(a);
  EXPECT_EQ(cachedCount(a), 0u);
  EXPECT_EQ(cachedCount(b), pageCount(b));
  ledger.releaseAll();
  EXPECT_EQ(cachedCount(b), 0u);
  ledger.release(a);  // forgotten: nothing to do, nothing breaks
}

TEST(PageCacheLedger, AHashWithoutALedgerLeavesTheCacheAsItFoundIt) {
  TempFolder dir;
  const std::string cold = dir / "cold", warm = dir / "warm";
  patternFile(cold, 2 * MiB, 1);
  patternFile(warm, 2 * MiB, 2);
  evict(cold);
  evict(warm);
  readRange(warm, 0, 2 * MiB);
  EXPECT_TRUE(FileFacts::sha256(cold).has_value());
  EXPECT_TRUE(FileFacts::sha256(warm).has_value());
  EXPECT_EQ(cachedCount(cold), 0u);
  EXPECT_EQ(cachedCount(warm), pageCount(warm));
}

TEST(PageCacheLedger, ADuplicateSearchKeepsWhatWasCachedAndDropsWhatItReadIn) {
  TempFolder home;
  // Big enough for the sampled stages, and pairs that are only told apart late.
  const std::string warmCopy = home / "warm-1", warmTwin = home / "warm-2";
  const std::string coldCopy = home / "cold-1", coldTwin = home / "cold-2";
  const std::string lone = home / "lone";
  patternFile(warmCopy, 12 * MiB, 1);
  patternFile(warmTwin, 12 * MiB, 1);
  patternFile(coldCopy, 10 * MiB, 2);
  patternFile(coldTwin, 10 * MiB, 2);
  patternFile(lone, 10 * MiB, 3);  // same size as the cold pair, different from the first byte
  for (const auto& path : {warmCopy, warmTwin, coldCopy, coldTwin, lone}) evict(path);
  readRange(warmCopy, 0, 12 * MiB);
  readRange(warmTwin, 0, 12 * MiB);

  for (const bool fullHash : {false, true}) {
    DuplicateSearch search{home.path(), MiB, fullHash, nullptr, nullptr, nullptr, {}};
    const auto groups = DuplicateFinder::find(DuplicateFinder::collect(home.path(), search).candidates, search);
    ASSERT_EQ(groups.size(), 2u) << fullHash;
    // The kernel may reclaim a stray page of its own accord while other tests fill memory;
    // a wrong drop by the search loses at least one whole 64 KiB read (16 pages).
    constexpr size_t kOneSamplesPages = 16;
    for (const auto& path : {warmCopy, warmTwin}) {
      EXPECT_GT(cachedCount(path) + kOneSamplesPages, pageCount(path)) << path << fullHash;
    }
    for (const auto& path : {coldCopy, coldTwin, lone}) EXPECT_EQ(cachedCount(path), 0u) << path << fullHash;
  }
}

}  // namespace
}  // namespace tallyfin
