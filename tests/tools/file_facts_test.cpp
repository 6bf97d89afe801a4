#include "kit/tools/file_facts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "tests/support/file_content.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::flipByte;
using testing::MiB;
using testing::patternFile;
using testing::TempFolder;

// The reference: the given ranges of `path`, after the 8-byte little-endian size,
// copied into one file and hashed by sha256sum.
std::string referenceHash(const TempFolder& dir, const std::string& path, int64_t size,
                          const std::vector<std::pair<int64_t, int64_t>>& ranges) {
  const std::string joined = dir / "reference.bin";
  const int out = ::open(joined.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  unsigned char prefix[8];
  for (int i = 0; i < 8; ++i) prefix[i] = static_cast<unsigned char>(static_cast<uint64_t>(size) >> (8 * i));
  EXPECT_EQ(::write(out, prefix, 8), 8);
  const int in = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  for (const auto& [offset, length] : ranges) {
    std::vector<char> bytes(static_cast<size_t>(length));
    const ssize_t count = ::pread(in, bytes.data(), bytes.size(), offset);
    EXPECT_EQ(::write(out, bytes.data(), static_cast<size_t>(count)), count);
  }
  ::close(in);
  ::close(out);
  return testing::runProcess("/usr/bin/sha256sum", {joined}, {}).out.substr(0, 64);
}

std::string sha256sum(const std::string& path) {
  return testing::runProcess("/usr/bin/sha256sum", {path}, {}).out.substr(0, 64);
}

TEST(FileFacts, FingerprintSamplesStartMiddleAndEnd) {
  TempFolder dir;
  const int64_t size = 5 * MiB + 123;
  patternFile(dir / "f", size);
  const int64_t half = MiB / 2;
  EXPECT_EQ(FileFacts::fingerprint(dir / "f", size),
            referenceHash(dir, dir / "f", size,
                          {{0, MiB}, {size / 2 - half, MiB}, {size - MiB, MiB}}));
  patternFile(dir / "tiny", 10);  // all three samples read the same ten bytes
  EXPECT_EQ(FileFacts::fingerprint(dir / "tiny", 10),
            referenceHash(dir, dir / "tiny", 10, {{0, 10}, {0, 10}, {0, 10}}));
}

TEST(FileFacts, SampledHashReadsWholeSmallFilesAndFiftySamplesOfLargeOnes) {
  TempFolder dir;
  patternFile(dir / "small", 8 * MiB);
  EXPECT_EQ(FileFacts::sampledHash(dir / "small", 8 * MiB), sha256sum(dir / "small"));

  const int64_t size = 8 * MiB + 1;
  patternFile(dir / "large", size);
  std::vector<std::pair<int64_t, int64_t>> ranges = {{0, MiB}, {size - MiB, MiB}};
  for (int64_t i = 0; i < 48; ++i) ranges.emplace_back(MiB + (size - 2'162'688) * i / 47, 65'536);
  EXPECT_EQ(FileFacts::sampledHash(dir / "large", size), referenceHash(dir, dir / "large", size, ranges));
  EXPECT_EQ(FileFacts::sha256(dir / "large"), sha256sum(dir / "large"));
}

TEST(FileFacts, TheFingerprintBeginsTheSampledHashOfALargeFile) {
  TempFolder dir;
  for (const int64_t size : {8 * MiB + 1, 20 * MiB + 3}) {
    patternFile(dir / "f", size, 3);
    std::optional<Sha256> started;
    EXPECT_EQ(FileFacts::fingerprint(dir / "f", size, {}, &started), FileFacts::fingerprint(dir / "f", size)) << size;
    ASSERT_TRUE(started.has_value()) << size;
    int64_t read = 0;
    const ReadWatch counting(nullptr, [&](int64_t bytes) { read += bytes; });
    EXPECT_EQ(FileFacts::sampledHash(dir / "f", size, counting, std::move(started)),
              FileFacts::sampledHash(dir / "f", size)) << size;
    EXPECT_EQ(read, 48 * FileFacts::kSample) << size;
  }
  // A small file's dense hash is all of it: nothing to begin.
  patternFile(dir / "small", 8 * MiB, 3);
  std::optional<Sha256> started;
  EXPECT_TRUE(FileFacts::fingerprint(dir / "small", 8 * MiB, {}, &started).has_value());
  EXPECT_FALSE(started.has_value());
}

TEST(FileFacts, TheHeadHashCoversTheSizeAndTheFirst64KiB) {
  TempFolder dir;
  patternFile(dir / "f", 8 * MiB + 1);
  EXPECT_EQ(FileFacts::headHash(dir / "f", 8 * MiB + 1),
            referenceHash(dir, dir / "f", 8 * MiB + 1, {{0, FileFacts::kHead}}));
}

TEST(FileFacts, OnlyTheByteComparisonSeesADifferenceBetweenSamples) {
  TempFolder dir;
  const int64_t size = 64 * MiB;
  patternFile(dir / "a", size);
  patternFile(dir / "b", size);
  EXPECT_TRUE(FileFacts::identical(dir / "a", dir / "b"));
  flipByte(dir / "b", 20 * MiB + 100'000);  // between two 64 KiB samples
  EXPECT_EQ(FileFacts::sampledHash(dir / "a", size), FileFacts::sampledHash(dir / "b", size));
  EXPECT_NE(FileFacts::sha256(dir / "a"), FileFacts::sha256(dir / "b"));
  EXPECT_FALSE(FileFacts::identical(dir / "a", dir / "b"));

  patternFile(dir / "c", size);
  flipByte(dir / "c", size - 1);  // the last byte is always sampled
  EXPECT_NE(FileFacts::sampledHash(dir / "a", size), FileFacts::sampledHash(dir / "c", size));

  patternFile(dir / "d", size);
  CancelToken cancel;
  cancel.cancel();
  EXPECT_FALSE(FileFacts::identical(dir / "a", dir / "d", &cancel));
  EXPECT_FALSE(FileFacts::sha256(dir / "a", &cancel).has_value());
  patternFile(dir / "shorter", size - 1);
  EXPECT_FALSE(FileFacts::identical(dir / "a", dir / "shorter"));
}

TEST(FileFacts, OpensOnlyRegularFilesNeverThroughALink) {
  TempFolder dir;
  testing::writeFile(dir / "real", 10);
  testing::symbolicLink(dir / "real", dir / "link");
  ASSERT_EQ(::mkfifo((dir / "pipe").c_str(), 0644), 0);
  EXPECT_TRUE(FileFacts::openForReading(dir / "real").has_value());
  EXPECT_FALSE(FileFacts::openForReading(dir / "link").has_value());
  EXPECT_FALSE(FileFacts::openForReading(dir / "pipe").has_value());  // and does not block
  EXPECT_FALSE(FileFacts::openForReading(dir.path()).has_value());
  EXPECT_FALSE(FileFacts::sha256(dir / "missing").has_value());
}

TEST(FileFacts, IdentityChangesWithEveryVersion) {
  TempFolder dir;
  testing::writeFile(dir / "f", 10);
  const auto first = FileFacts::identity(dir / "f");
  ASSERT_TRUE(first.has_value());
  // device:inode:size:modified:changed, each time with nine digits of nanoseconds.
  std::vector<std::string> fields;
  for (size_t start = 0, end; start <= first->size(); start = end + 1) {
    end = first->find(':', start);
    if (end == std::string::npos) end = first->size();
    fields.push_back(first->substr(start, end - start));
  }
  ASSERT_EQ(fields.size(), 5u) << *first;
  EXPECT_EQ(fields[2], "10");
  for (const size_t time : {size_t{3}, size_t{4}}) {
    const size_t dot = fields[time].find('.');
    ASSERT_NE(dot, std::string::npos) << *first;
    EXPECT_EQ(fields[time].size() - dot - 1, 9u) << *first;
  }
  const timespec later[2] = {{0, UTIME_OMIT}, {2'000'000'000, 5}};
  ASSERT_EQ(::utimensat(AT_FDCWD, (dir / "f").c_str(), later, 0), 0);
  const auto second = FileFacts::identity(dir / "f");
  EXPECT_NE(second, first);
  EXPECT_NE(second->find(":2000000000.000000005:"), std::string::npos);
  EXPECT_FALSE(FileFacts::identity(dir.path()).has_value());
}

TEST(FileFacts, PrivateSizeOfAnOrdinaryFileIsItsAllocatedSize) {
  TempFolder dir;
  patternFile(dir / "f", 3 * MiB);
  testing::sparseFile(dir / "sparse", 64 * MiB);
  EXPECT_EQ(FileFacts::privateSize(dir / "f"), testing::allocatedBytes(dir / "f"));
  EXPECT_EQ(FileFacts::privateSize(dir / "sparse"), testing::allocatedBytes(dir / "sparse"));
  EXPECT_FALSE(FileFacts::privateSize(dir / "missing").has_value());
  const unsigned char bytes[] = {0x00, 0xAB, 0xFF};
  EXPECT_EQ(FileFacts::hex(bytes), "00abff");
}

}  // namespace
}  // namespace tallyfin
