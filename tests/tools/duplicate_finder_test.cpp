#include "kit/tools/duplicate_finder.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <latch>
#include <mutex>
#include <thread>

#include "kit/platform/io_priority.h"
#include "kit/store/store.h"
#include "kit/tools/file_facts.h"
#include "tests/support/file_content.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::flipByte;
using testing::MiB;
using testing::patternFile;
using testing::setModified;
using testing::TempFolder;

// A search of the whole temporary home for files of 1 MiB and more.
struct Search {
  TempFolder home;
  DuplicateStats stats;
  DuplicateSearch options{home.path(), MiB, false, nullptr, nullptr, &stats, {}};

  std::vector<DuplicateGroup> run() {
    return DuplicateFinder::find(DuplicateFinder::collect(home.path(), options).candidates, options);
  }

  // One search through a hash cache kept in `store` and saved afterwards, counting afresh.
  std::vector<DuplicateGroup> runWithCache(const Store& store) {
    DuplicateCache cache(store);
    stats.update([](DuplicateStats::Counts& counts) { counts = {}; });
    options.cache = &cache;
    auto groups = run();
    EXPECT_TRUE(cache.save());
    options.cache = nullptr;
    return groups;
  }
};

std::vector<std::string> pathsOf(const DuplicateGroup& group) {
  std::vector<std::string> paths;
  for (const auto& file : group.byAge()) paths.push_back(file.path);
  return paths;
}

TEST(DuplicateSearch, HardLinksAreOneFileAndNeverADuplicate) {
  Search search;
  patternFile(search.home / "Movies/a.mov", 12 * MiB, 1);
  testing::hardLink(search.home / "Movies/a.mov", search.home / "Movies/a-link.mov");
  patternFile(search.home / "Pictures/b.raw", 12 * MiB, 2);
  testing::hardLink(search.home / "Pictures/b.raw", search.home / "Backup/b.raw");
  EXPECT_TRUE(search.run().empty());

  patternFile(search.home / "Backup/a-copy.mov", 12 * MiB, 1);
  const auto groups = search.run();
  ASSERT_EQ(groups.size(), 1u);
  ASSERT_EQ(groups[0].files.size(), 2u);
  const auto paths = pathsOf(groups[0]);
  EXPECT_NE(std::find(paths.begin(), paths.end(), search.home / "Backup/a-copy.mov"), paths.end());
  EXPECT_FALSE(groups[0].verified);
  EXPECT_EQ(groups[0].size, 12 * MiB);
}

TEST(DuplicateSearch, AnExtraCopyWithAnotherNameFreesNothing) {
  Search search;
  patternFile(search.home / "Movies/a.mov", 12 * MiB, 1);
  setModified(search.home / "Movies/a.mov", 1'600'000'000);  // the copy to keep
  patternFile(search.home / "Downloads/a.mov", 12 * MiB, 1);
  setModified(search.home / "Downloads/a.mov", 1'700'000'000);
  // The extra's other name lies where no search looks: trashing the extra frees nothing.
  testing::hardLink(search.home / "Downloads/a.mov", search.home / ".backup/a.mov");
  const auto groups = search.run();
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(pathsOf(groups[0]), (std::vector<std::string>{search.home / "Movies/a.mov", search.home / "Downloads/a.mov"}));
  EXPECT_EQ(groups[0].reclaimable(), 0);

  std::filesystem::remove(search.home / ".backup/a.mov");
  EXPECT_EQ(search.run()[0].reclaimable(), testing::allocatedBytes(search.home / "Downloads/a.mov"));
}

TEST(DuplicateSearch, AMiddleDifferencePartsFilesAtTheFingerprint) {
  Search search;
  patternFile(search.home / "Documents/a.bin", 20 * MiB, 1);
  patternFile(search.home / "Documents/b.bin", 20 * MiB, 1);
  flipByte(search.home / "Documents/b.bin", 10 * MiB);
  EXPECT_TRUE(search.run().empty());
  const auto counts = search.stats.counts();
  EXPECT_EQ(counts.candidates, 2);
  EXPECT_EQ(counts.sameSize, 2);
  EXPECT_EQ(counts.fingerprinted, 2);
  EXPECT_EQ(counts.bytes, 2 * FileFacts::kHead + 2 * 3 * MiB);  // no dense hash was needed
  EXPECT_EQ(counts.fullyRead, 0);
}

TEST(DuplicateSearch, ADifferenceBetweenSamplesTakesTheFullHashOrTheByteCheck) {
  Search search;
  const int64_t size = 24 * MiB;
  patternFile(search.home / "Movies/a.mov", size, 1);
  patternFile(search.home / "Movies/b.mov", size, 1);
  flipByte(search.home / "Movies/b.mov", MiB + 200'000);  // between the first two 64 KiB samples
  setModified(search.home / "Movies/a.mov", 1'000);
  setModified(search.home / "Movies/b.mov", 2'000);

  const auto sampled = search.run();
  ASSERT_EQ(sampled.size(), 1u);
  EXPECT_FALSE(sampled[0].verified);
  const auto paths = pathsOf(sampled[0]);
  EXPECT_TRUE(DuplicateFinder::confirmed(paths[0], {paths[1]}).empty());

  search.options.fullHash = true;
  search.stats.update([](DuplicateStats::Counts& counts) { counts = {}; });
  EXPECT_TRUE(search.run().empty());
  // Compared side by side, both are let go at the second block, where they part.
  EXPECT_EQ(search.stats.counts().fullyRead, 0);
  EXPECT_EQ(search.stats.counts().bytes, 2 * FileFacts::kHead + 2 * 3 * MiB + 2 * 2 * MiB);
}

TEST(DuplicateSearch, AFullSearchSplitsAGroupWhereverItsFilesDiffer) {
  Search search;
  search.options.fullHash = true;
  const int64_t size = 9 * MiB;  // above the size read whole at the fingerprint
  // The changes lie outside the fingerprint's three samples, so all five reach the full stage.
  for (const auto& [name, changedAt] : std::vector<std::pair<std::string, int64_t>>{
           {"Movies/a1.mov", -1}, {"Backup/a2.mov", -1}, {"Movies/b1.mov", 2 * MiB + 9},
           {"Backup/b2.mov", 2 * MiB + 9}, {"Desktop/c.mov", 7 * MiB + 3}}) {
    patternFile(search.home / name, size, 20);
    if (changedAt >= 0) flipByte(search.home / name, changedAt);
  }
  const auto groups = search.run();
  ASSERT_EQ(groups.size(), 2u);
  std::vector<std::vector<std::string>> found;
  for (const auto& group : groups) {
    EXPECT_TRUE(group.verified);
    for (const auto& file : group.files) EXPECT_EQ(group.hash, FileFacts::sha256(file.path));
    auto paths = pathsOf(group);
    std::sort(paths.begin(), paths.end());
    found.push_back(paths);
  }
  std::sort(found.begin(), found.end());
  EXPECT_EQ(found, (std::vector<std::vector<std::string>>{{search.home / "Backup/a2.mov", search.home / "Movies/a1.mov"},
                                                          {search.home / "Backup/b2.mov", search.home / "Movies/b1.mov"}}));
  const auto counts = search.stats.counts();
  EXPECT_EQ(counts.fullyRead, 4);
  // The odd one out is let go after the block where it parts from the a's.
  EXPECT_EQ(counts.bytes, 5 * FileFacts::kHead + 5 * 3 * MiB + 4 * size + 8 * MiB);
}

TEST(DuplicateSearch, AFullSearchMatchesChangedFilesAgainstKnownHashes) {
  Search search;
  search.options.fullHash = true;
  const TempFolder data;
  const Store store(data.path());
  const int64_t size = 10 * MiB;
  for (const char* name : {"Movies/a.mov", "Downloads/a.mov", "Desktop/a.mov"}) patternFile(search.home / name, size, 21);
  const auto withCache = [&] { return search.runWithCache(store); };
  ASSERT_EQ(withCache().size(), 1u);

  // A new version with the same bytes: alone among files already known, it is
  // read whole and matched by its hash.
  setModified(search.home / "Desktop/a.mov", 1'700'000'000);
  auto groups = withCache();
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].files.size(), 3u);
  EXPECT_EQ(search.stats.counts().bytes, FileFacts::kHead + 3 * MiB + size);
  EXPECT_EQ(search.stats.counts().fullyRead, 1);

  // Changed bytes where no sample looks: the known copies stay a group without it.
  flipByte(search.home / "Desktop/a.mov", 6 * MiB);
  groups = withCache();
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].files.size(), 2u);
  for (const auto& file : groups[0].files) EXPECT_NE(file.path, search.home / "Desktop/a.mov");
  EXPECT_EQ(search.stats.counts().bytes, FileFacts::kHead + 3 * MiB + size);
}

TEST(DuplicateSearch, CancellingAFullSearchMidGroupStopsReading) {
  Search search;
  search.options.fullHash = true;
  const int64_t size = 40 * MiB;
  for (const char* name : {"Movies/a.mov", "Downloads/a.mov"}) patternFile(search.home / name, size, 22);
  CancelToken cancel;
  search.options.cancel = &cancel;
  // Once the full stage has planned its reading, stop a few blocks into it.
  search.options.progress = [&](const DuplicateProgress& progress) {
    if (progress.totalBytes > 2 * size && progress.hashedBytes > progress.totalBytes - 2 * size + 4 * MiB) cancel.cancel();
  };
  EXPECT_TRUE(search.run().empty());
  EXPECT_TRUE(cancel.isCancelled());
  EXPECT_LT(search.stats.counts().bytes, 2 * FileFacts::kHead + 2 * 3 * MiB + 2 * 6 * MiB);
  EXPECT_EQ(search.stats.counts().fullyRead, 0);
}

TEST(DuplicateSearch, SmallFilesAreReadOnceWhole) {
  Search search;
  patternFile(search.home / "Music/a.flac", 8 * MiB, 11);
  patternFile(search.home / "Music/b.flac", 8 * MiB, 11);
  patternFile(search.home / "Music/c.flac", 8 * MiB, 12);
  const auto groups = search.run();
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].hash, *FileFacts::sha256(search.home / "Music/a.flac"));
  const auto counts = search.stats.counts();
  EXPECT_EQ(counts.fingerprinted, 2);
  EXPECT_EQ(counts.fullyRead, 2);
  EXPECT_EQ(counts.bytes, 3 * FileFacts::kHead + 2 * 8 * MiB);
}

TEST(DuplicateSearch, AFullSearchComparesSmallFilesWithoutFingerprints) {
  Search search;
  search.options.fullHash = true;
  const int64_t size = 5 * MiB;
  for (const char* name : {"Music/a.flac", "Backup/a.flac", "Desktop/a.flac", "Music/b.flac"}) {
    patternFile(search.home / name, size, 13);
  }
  flipByte(search.home / "Music/b.flac", 2 * MiB + 1);
  const auto groups = search.run();
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].files.size(), 3u);
  EXPECT_EQ(groups[0].hash, FileFacts::sha256(search.home / "Music/a.flac"));
  const auto counts = search.stats.counts();
  EXPECT_EQ(counts.fingerprinted, 0);
  EXPECT_EQ(counts.fullyRead, 3);
  // The odd one is let go after its third block.
  EXPECT_EQ(counts.bytes, 4 * FileFacts::kHead + 3 * size + 3 * MiB);
}

TEST(DuplicateSearch, AnExtraChangedAfterTheSearchStays) {
  Search search;
  for (const char* name : {"Movies/a.mov", "Downloads/a.mov", "Desktop/a.mov"}) {
    patternFile(search.home / name, 9 * MiB, 3);
  }
  search.options.fullHash = true;
  const auto groups = search.run();
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_TRUE(groups[0].verified);
  const auto paths = pathsOf(groups[0]);
  ASSERT_EQ(paths.size(), 3u);
  flipByte(paths[2], 5 * MiB);
  EXPECT_EQ(DuplicateFinder::confirmed(paths[0], {paths[1], paths[2]}),
            std::vector<std::string>{paths[1]});
}

TEST(DuplicateSearch, TheCacheMakesTheNextSearchReadOnlyChangedFiles) {
  Search search;
  const TempFolder data;
  const Store store(data.path());
  for (const char* name : {"Movies/a.mov", "Downloads/a.mov", "Desktop/a.mov"}) {
    patternFile(search.home / name, 12 * MiB, 4);
  }
  patternFile(search.home / "Movies/other.mov", 12 * MiB, 5);  // same size, other bytes

  const auto readWithCache = [&] {
    auto groups = search.runWithCache(store);
    return std::pair(groups, search.stats.counts().bytes);
  };
  const auto [first, firstBytes] = readWithCache();
  // The other file parts from the copies at its first 64 KiB; the dense hashes go
  // on from the fingerprints' first and last MiB and read only their 48 samples.
  EXPECT_EQ(firstBytes, 4 * FileFacts::kHead + 3 * 3 * MiB + 3 * 48 * FileFacts::kSample);
  const auto [second, secondBytes] = readWithCache();
  EXPECT_EQ(second, first);
  EXPECT_EQ(secondBytes, 0);

  setModified(search.home / "Desktop/a.mov", 1'700'000'000);  // a new version, same bytes
  const auto [third, thirdBytes] = readWithCache();
  EXPECT_EQ(third.size(), 1u);
  EXPECT_EQ(thirdBytes, FileFacts::kHead + 3 * MiB + 48 * FileFacts::kSample);
}

TEST(DuplicateSearch, SkipsFilesNotWorthReading) {
  Search search;
  testing::sparseFile(search.home / "Movies/disk-a.img", 64 * MiB);
  testing::sparseFile(search.home / "Movies/disk-b.img", 64 * MiB);
  patternFile(search.home / "Movies/small-a", MiB - 1, 6);
  patternFile(search.home / "Movies/small-b", MiB - 1, 6);
  for (const char* hidden : {".cache/x.bin", "code/node_modules/x.bin", "Library/x.bin",
                             "Apps/Tool.app/x.bin", "Photos/My.photoslibrary/x.bin"}) {
    patternFile(search.home / hidden, 2 * MiB, 7);
  }
  patternFile(search.home / "Documents/x.bin", 2 * MiB, 7);
  testing::symbolicLink(search.home / "Documents/x.bin", search.home / "Documents/x-link.bin");
  EXPECT_TRUE(search.run().empty());
  EXPECT_EQ(search.stats.counts().candidates, 1);
  EXPECT_EQ(search.stats.counts().bytes, 0);

  // Handing the hidden copies in directly changes nothing: find checks them itself.
  std::vector<DuplicateCandidate> given{{search.home / "Documents/x.bin", 2 * MiB, 0},
                                        {search.home / ".cache/x.bin", 2 * MiB, 0},
                                        {search.home / "code/node_modules/x.bin", 2 * MiB, 0},
                                        {search.home / "Documents/x-link.bin", 2 * MiB, 0}};
  EXPECT_TRUE(DuplicateFinder::find(given, search.options).empty());
}

TEST(DuplicateSearch, MostReclaimableFirstWithTheOldestCopyKept) {
  Search search;
  patternFile(search.home / "Music/a.flac", 2 * MiB, 8);
  patternFile(search.home / "Music/b.flac", 2 * MiB, 8);
  for (const auto& [name, time] : std::vector<std::pair<std::string, int64_t>>{
           {"Movies/new.mov", 3'000}, {"Movies/old.mov", 1'000}, {"Movies/mid.mov", 2'000}}) {
    patternFile(search.home / name, 4 * MiB, 9);
    setModified(search.home / name, time);
  }
  const auto groups = search.run();
  ASSERT_EQ(groups.size(), 2u);
  EXPECT_EQ(groups[0].size, 4 * MiB);
  EXPECT_EQ(pathsOf(groups[0]).front(), search.home / "Movies/old.mov");
  EXPECT_EQ(groups[0].reclaimable(), 2 * testing::allocatedBytes(search.home / "Movies/new.mov"));
  EXPECT_GT(groups[0].reclaimable(), groups[1].reclaimable());
}

TEST(DuplicateSearch, ProgressStaysWithinThePlanAndCancelStopsReading) {
  Search search;
  for (int copy = 0; copy < 3; ++copy) {
    patternFile(search.home / ("Movies/" + std::to_string(copy) + ".mov"), 10 * MiB + 1, 10);
  }
  std::mutex lock;
  DuplicateProgress last;
  bool overran = false;
  search.options.progress = [&](const DuplicateProgress& progress) {
    const std::lock_guard guard(lock);
    overran = overran || progress.hashedBytes > progress.totalBytes;
    last = progress;
  };
  EXPECT_EQ(search.run().size(), 1u);
  EXPECT_FALSE(overran);
  EXPECT_EQ(last.hashedBytes, last.totalBytes);
  EXPECT_EQ(last.totalBytes, 3 * FileFacts::kHead + 3 * 3 * MiB + 3 * 5 * MiB);
  EXPECT_FALSE(last.listedFiles.has_value());

  CancelToken cancel;
  cancel.cancel();
  search.options.cancel = &cancel;
  search.stats.update([](DuplicateStats::Counts& counts) { counts = {}; });
  EXPECT_TRUE(search.run().empty());
  EXPECT_EQ(search.stats.counts().bytes, 0);
}

TEST(DuplicateCollect, ListsUserFilesUpToTheLimit) {
  Search search;
  for (int i = 0; i < 2'500; ++i) testing::writeFile(search.home / ("Documents/many/" + std::to_string(i)), 1);
  for (int i = 0; i < 5; ++i) patternFile(search.home / ("Movies/" + std::to_string(i)), MiB, i);
  patternFile(search.home / ".hidden/big", MiB, 1);

  std::optional<int64_t> listed;
  search.options.progress = [&](const DuplicateProgress& progress) { listed = progress.listedFiles; };
  const auto all = DuplicateFinder::collect(search.home.path(), search.options);
  EXPECT_EQ(all.candidates.size(), 5u);
  EXPECT_FALSE(all.truncated);
  EXPECT_EQ(listed, 2'505);  // the hidden folder is never entered

  const auto some = DuplicateFinder::collect(search.home.path(), search.options, 3);
  EXPECT_EQ(some.candidates.size(), 3u);
  EXPECT_TRUE(some.truncated);
}

TEST(DuplicateCollect, AFolderOutsideHomeStandsForHome) {
  EXPECT_EQ(DuplicateFinder::searchHome("/home/ann/Movies", "/home/ann"), "/home/ann");
  EXPECT_EQ(DuplicateFinder::searchHome("/home/ann", "/home/ann"), "/home/ann");
  EXPECT_EQ(DuplicateFinder::searchHome("/home/anna/x", "/home/ann"), "/home/anna/x");
  EXPECT_EQ(DuplicateFinder::searchHome("/", "/home/ann"), "");
}

// The kernel's encoding (class above bit 13); its own header no longer compiles as C++.
constexpr int kWhoThisThread = 1;
constexpr int kBestEffortLowest = 2 << 13 | 7;

int threadIoPriority() { return static_cast<int>(::syscall(SYS_ioprio_get, kWhoThisThread, 0)); }

TEST(LowIoPriority, LowersOnlyTheCallingThreadAndComesBack) {
  const int before = threadIoPriority();
  std::latch lowered(1), checked(1);
  std::thread worker([&] {
    {
      const platform::LowIoPriority low;
      EXPECT_EQ(threadIoPriority(), kBestEffortLowest);
      lowered.count_down();
      checked.wait();
    }
    EXPECT_EQ(threadIoPriority(), before);
  });
  lowered.wait();
  EXPECT_EQ(threadIoPriority(), before);
  checked.count_down();
  worker.join();
}

}  // namespace
}  // namespace tallyfin
