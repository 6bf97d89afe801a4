#include "kit/tools/duplicate_cache.h"

#include <sys/stat.h>

#include <gtest/gtest.h>

#include "kit/tools/file_facts.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::TempFolder;

struct CacheFolder {
  TempFolder data;
  TempFolder files;
  Store store{data.path()};

  std::optional<DuplicateCache::Saved> saved() const {
    const auto bytes = store.loadText(Store::File::duplicateHashes);
    return bytes ? DuplicateCache::decode(*bytes) : std::nullopt;
  }
};

TEST(DuplicateCache, RemembersHashesPerFileVersionInABinaryPropertyList) {
  CacheFolder folder;
  testing::writeFile(folder.files / "a", 100);
  int computed = 0;
  const auto compute = [&] {
    ++computed;
    return std::optional<std::string>("abc");
  };
  {
    DuplicateCache cache(folder.store);
    EXPECT_EQ(cache.run(), 1);
    EXPECT_EQ(cache.hash(folder.files / "a", DuplicateCache::Kind::sampled, compute), "abc");
    EXPECT_EQ(cache.hash(folder.files / "a", DuplicateCache::Kind::sampled, compute), "abc");
    EXPECT_EQ(computed, 1);
    ASSERT_TRUE(cache.save());
  }
  const auto bytes = folder.store.loadText(Store::File::duplicateHashes);
  ASSERT_TRUE(bytes.has_value());
  EXPECT_TRUE(bytes->starts_with("bplist00"));
  struct stat info;
  ASSERT_EQ(::stat(folder.store.url(Store::File::duplicateHashes).c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);

  DuplicateCache again(folder.store);
  EXPECT_EQ(again.run(), 2);
  EXPECT_EQ(again.hash(folder.files / "a", DuplicateCache::Kind::sampled, compute), "abc");
  EXPECT_EQ(computed, 1);
  // Another kind for the same version, and the same kind for a new version, are computed.
  again.hash(folder.files / "a", DuplicateCache::Kind::full, compute);
  testing::writeFile(folder.files / "a", 101);
  again.hash(folder.files / "a", DuplicateCache::Kind::sampled, compute);
  EXPECT_EQ(computed, 3);
  EXPECT_EQ(again.size(), 2u);
}

TEST(DuplicateCache, FailuresAndUnreadableFilesAreNotRemembered) {
  CacheFolder folder;
  testing::writeFile(folder.files / "a", 1);
  DuplicateCache cache(folder.store);
  const auto nothing = [] { return std::optional<std::string>(); };
  EXPECT_FALSE(cache.hash(folder.files / "a", DuplicateCache::Kind::fingerprint, nothing).has_value());
  EXPECT_FALSE(cache.hash(folder.files / "missing", DuplicateCache::Kind::fingerprint,
                          [] { return std::optional<std::string>("x"); }).has_value());
  EXPECT_EQ(cache.size(), 0u);
  ASSERT_TRUE(cache.save());  // nothing changed: nothing written
  EXPECT_FALSE(folder.store.loadText(Store::File::duplicateHashes).has_value());

  // A file rewritten while it was hashed keeps no entry.
  EXPECT_EQ(cache.hash(folder.files / "a", DuplicateCache::Kind::fingerprint, [&] {
    testing::writeFile(folder.files / "a", 2);
    return std::optional<std::string>("torn");
  }), "torn");
  EXPECT_EQ(cache.size(), 0u);
}

TEST(DuplicateCache, AGarbledFileStartsEmpty) {
  CacheFolder folder;
  ASSERT_TRUE(folder.store.saveText("bplist00 not really", Store::File::duplicateHashes));
  DuplicateCache cache(folder.store);
  EXPECT_EQ(cache.run(), 1);
  EXPECT_EQ(cache.size(), 0u);
  EXPECT_FALSE(DuplicateCache::decode("").has_value());
  DuplicateCache::Saved saved{3, {{"k", {{{DuplicateCache::Kind::full, "h"}}, 2}}}};
  EXPECT_EQ(DuplicateCache::decode(DuplicateCache::encode(saved)), saved);
}

TEST(DuplicateCache, KeepsTheMostRecentlyUsedSixtyThousand) {
  CacheFolder folder;
  DuplicateCache::Saved saved;
  saved.run = 100;
  const size_t total = DuplicateCache::kMostEntries + 10;
  for (size_t i = 0; i < total; ++i) {
    saved.entries["key" + std::to_string(i)] = {{{DuplicateCache::Kind::fingerprint, "f"}},
                                                static_cast<int64_t>(i % 100)};
  }
  ASSERT_TRUE(folder.store.saveText(DuplicateCache::encode(saved), Store::File::duplicateHashes));
  DuplicateCache cache(folder.store);
  EXPECT_EQ(cache.run(), 101);
  testing::writeFile(folder.files / "new", 1);
  cache.hash(folder.files / "new", DuplicateCache::Kind::fingerprint, [] { return std::optional<std::string>("n"); });
  ASSERT_TRUE(cache.save());

  const auto kept = folder.saved();
  ASSERT_TRUE(kept.has_value());
  EXPECT_EQ(kept->run, 101);
  EXPECT_EQ(kept->entries.size(), DuplicateCache::kMostEntries);
  EXPECT_EQ(kept->entries.at(*FileFacts::identity(folder.files / "new")).used, 101);
  // 11 entries had to go; all of them from the least recently used run.
  size_t oldest = 0;
  for (const auto& [key, entry] : kept->entries) oldest += entry.used == 0 ? 1 : 0;
  EXPECT_EQ(oldest, total / 100 + 1 - 11);
}

}  // namespace
}  // namespace tallyfin
