#include "kit/store/store.h"

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "kit/history/history_files.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::TempFolder;
using File = Store::File;

mode_t modeOf(const std::string& path) {
  struct stat info;
  EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
  return info.st_mode & 07777;
}

TEST(Store, SavesPrivateFilesWhateverTheUmask) {
  TempFolder dir;
  const mode_t previous = ::umask(0);
  const Store store(dir / "data");
  const auto saved = store.saveText("{}", File::report);
  ::umask(previous);
  ASSERT_TRUE(saved.ok());
  EXPECT_EQ(modeOf(dir / "data"), 0700u);
  EXPECT_EQ(modeOf(store.url(File::report)), 0600u);
  EXPECT_EQ(store.loadText(File::report), "{}");

  const mode_t before = ::umask(0277);  // would leave the file read-only without fchmod
  const auto narrowed = store.saveText("[]", File::history);
  ::umask(before);
  ASSERT_TRUE(narrowed.ok());
  EXPECT_EQ(modeOf(store.url(File::history)), 0600u);
}

TEST(Store, TightensAnExistingFolder) {
  TempFolder dir;
  testing::makeFolder(dir / "data");
  testing::setMode(dir / "data", 0755);
  const Store store(dir / "data");
  EXPECT_EQ(modeOf(dir / "data"), 0700u);
}

TEST(Store, AFolderReplacedByALinkGetsNothingWrittenThroughIt) {
  TempFolder dir;
  testing::makeFolder(dir / "elsewhere");
  testing::symbolicLink(dir / "elsewhere", dir / "data");
  const Store store(dir / "data");
  EXPECT_FALSE(store.isTrusted());
  const auto saved = store.saveText("{}", File::report);
  ASSERT_FALSE(saved.ok());
  EXPECT_NE(saved.error().message.find(dir / "data"), std::string::npos);
  EXPECT_FALSE(store.withLock(File::keep, [] { return ok(); }).ok());
  EXPECT_FALSE(store.remove(File::report).ok());
  EXPECT_TRUE(std::filesystem::is_empty(dir / "elsewhere"));
  EXPECT_EQ(modeOf(dir / "elsewhere"), 0755u);  // not tightened through the link
  EXPECT_FALSE(store.loadText(File::report).has_value());
}

TEST(Store, ForeignOwnerIsNotTrusted) {
  if (::geteuid() != 0) GTEST_SKIP() << "changing a folder's owner needs root";
  TempFolder dir;
  testing::makeFolder(dir / "data");
  ASSERT_EQ(::chown((dir / "data").c_str(), 65534, 65534), 0);
  const Store store(dir / "data");
  EXPECT_FALSE(store.isTrusted());
  EXPECT_FALSE(store.saveText("{}", File::report).ok());
}

TEST(Store, LoadingForgivesMissingLinkedOversizedAndCorruptFiles) {
  TempFolder dir;
  const Store store(dir / "data");
  EXPECT_FALSE(store.loadJson(File::history).has_value());

  ASSERT_TRUE(store.saveText("[1,2", File::history).ok());
  EXPECT_FALSE(store.loadJson(File::history).has_value());

  testing::writeFile(dir / "real.json", 2);
  testing::symbolicLink(dir / "real.json", store.url(File::report));
  EXPECT_FALSE(store.loadText(File::report).has_value());

  testing::sparseFile(store.url(File::snapshot), 300'000'000);
  EXPECT_FALSE(store.loadText(File::snapshot).has_value());

  testing::makeFolder(store.url(File::keep));
  EXPECT_FALSE(store.loadText(File::keep).has_value());

  ASSERT_EQ(::mkfifo(store.url(File::timings).c_str(), 0600), 0);
  EXPECT_FALSE(store.loadText(File::timings).has_value());  // and does not hang
}

TEST(Store, EachUntrustedFolderGetsItsOwnSentence) {
  TempFolder dir;
  testing::makeFolder(dir / "elsewhere");
  testing::symbolicLink(dir / "elsewhere", dir / "linked");
  EXPECT_EQ(Store(dir / "linked").trustProblem(),
            "The Tallyfin data folder " + dir / "linked" +
                " is a symbolic link \u2014 Tallyfin keeps its records only in a real folder. Replace the link "
                "with a folder, or give --store one.");
  testing::writeFile(dir / "file", 1);
  EXPECT_EQ(Store(dir / "file").trustProblem(),
            dir / "file" + " is a file, not a folder \u2014 give --store a folder for Tallyfin's data.");
  EXPECT_EQ(Store(dir / "file/data").trustProblem(),
            "Can't create the Tallyfin data folder " + dir / "file/data" +
                ": Not a directory \u2014 give --store a folder you can write to.");
  const auto saved = Store(dir / "linked").saveText("{}", File::report);
  ASSERT_FALSE(saved.ok());
  EXPECT_EQ(saved.error().message, "Can't save report.json. " + Store(dir / "linked").trustProblem());
  if (::geteuid() == 0) {
    testing::makeFolder(dir / "theirs");
    ASSERT_EQ(::chown((dir / "theirs").c_str(), 65534, 65534), 0);
    EXPECT_EQ(Store(dir / "theirs").trustProblem(), "The Tallyfin data folder isn't owned by you: " + dir / "theirs" +
                                                        " \u2014 give --store a folder of your own.");
  }
}

TEST(Store, AReadModifyWriteKeepsADamagedFileAsideOrRefuses) {
  TempFolder dir;
  const Store store(dir / "data");
  const auto append = [&](int value, Store::OnDamage onDamage) {
    return store.update<std::vector<int>>(File::history, onDamage, [value](std::vector<int>& list) {
      list.push_back(value);
      return ok();
    });
  };
  auto first = append(1, Store::OnDamage::keepAside);
  ASSERT_TRUE(first.ok());
  EXPECT_FALSE(first->has_value());  // a missing file is an empty list, nothing to report

  ASSERT_TRUE(store.saveText("[1,", File::history).ok());
  const auto refused = append(2, Store::OnDamage::refuse);
  ASSERT_FALSE(refused.ok());
  EXPECT_EQ(refused.error().message, "history.json in " + store.directory() + " is damaged and can't be read");
  EXPECT_EQ(store.loadText(File::history), "[1,");

  // Valid JSON of the wrong shape is as damaged as a cut-off file.
  ASSERT_TRUE(store.saveText(R"({"not":"a list"})", File::history).ok());
  const auto kept = append(3, Store::OnDamage::keepAside);
  ASSERT_TRUE(kept.ok());
  ASSERT_TRUE(kept->has_value());
  EXPECT_EQ(store.load<std::vector<int>>(File::history), std::vector<int>{3});
  std::vector<std::string> copies;
  for (const auto& entry : std::filesystem::directory_iterator(store.directory())) {
    if (entry.path().filename().string().starts_with("history.json.corrupt-")) copies.push_back(entry.path());
  }
  ASSERT_EQ(copies.size(), 1u);
  EXPECT_EQ(testing::readText(copies[0]), R"({"not":"a list"})");
  EXPECT_EQ(**kept, "Earlier records in history.json couldn't be read; the damaged file is kept as " + copies[0] + ".");
  EXPECT_EQ(modeOf(store.url(File::history)), 0600u);
}

TEST(Store, AFailedWriteLeavesTheOldFileAndNoTemporary) {
  TempFolder dir;
  const Store store(dir / "data");
  ASSERT_TRUE(store.saveText("old", File::report).ok());
  testing::makeFolder(store.url(File::history));  // rename over a folder fails
  EXPECT_FALSE(store.saveText("new", File::history).ok());
  size_t entries = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir / "data")) {
    ++entries;
  }
  EXPECT_EQ(entries, 2u);
  EXPECT_EQ(store.loadText(File::report), "old");
}

TEST(Store, AKilledWriterLeavesTheOldFileWhole) {
  TempFolder dir;
  const Store store(dir / "data");
  const std::string old(1'000'000, 'o');
  ASSERT_TRUE(store.saveText("\"" + old + "\"", File::report).ok());

  const pid_t writer = ::fork();
  if (writer == 0) {
    const std::string huge(1'500'000'000, 'n');
    (void)store.saveText(huge, File::report);
    ::_exit(0);
  }
  // Kill it once its temporary file has started to fill (slow under sanitizers: up to a minute).
  bool started = false;
  for (int i = 0; i < 12'000 && !started; ++i) {
    for (const auto& entry : std::filesystem::directory_iterator(dir / "data")) {
      started = started || entry.path().filename().string().starts_with("report.json.tmp-");
    }
    if (!started) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  ::kill(writer, SIGKILL);
  int status = 0;
  ::waitpid(writer, &status, 0);
  ASSERT_TRUE(started);
  ASSERT_TRUE(WIFSIGNALED(status)) << "the writer finished before it could be killed";
  const auto json = store.loadJson(File::report);
  ASSERT_TRUE(json.has_value());
  EXPECT_EQ(json->get<std::string>(), old);
}

TEST(Store, TwoProcessesAppendingUnderTheLockLoseNothing) {
  TempFolder dir;
  const Store store(dir / "data");
  constexpr int kPerProcess = 80;
  EXPECT_TRUE(testing::runInParallelProcesses(2, [&](int process) {
    for (int i = 0; i < kPerProcess; ++i) {
      HistoryEntry entry;
      entry.date = process * 1000 + i;
      if (!HistoryFiles::appendHistory(store, entry).ok()) return 1;
    }
    return 0;
  }));
  const auto history = HistoryFiles::history(store);
  EXPECT_EQ(history.size(), 2u * kPerProcess);
}

TEST(Store, StandardStoreMovesTheLegacyFolderOnce) {
  TempFolder dir;
  testing::writeFile(dir / "MossLedger/report.json", 3);
  ::setenv("XDG_DATA_HOME", dir.path().c_str(), 1);
  const Store store = Store::standard();
  ::unsetenv("XDG_DATA_HOME");
  EXPECT_EQ(store.directory(), dir / "Tallyfin");
  EXPECT_TRUE(std::filesystem::exists(dir / "Tallyfin/report.json"));
  EXPECT_FALSE(std::filesystem::exists(dir / "MossLedger"));
}

TEST(Store, LegacyFolderStaysWhenTheNewOneExists) {
  TempFolder dir;
  testing::writeFile(dir / "MossLedger/report.json", 3);
  testing::makeFolder(dir / "Tallyfin");
  ::setenv("XDG_DATA_HOME", dir.path().c_str(), 1);
  (void)Store::standard();
  ::unsetenv("XDG_DATA_HOME");
  EXPECT_TRUE(std::filesystem::exists(dir / "MossLedger/report.json"));
  EXPECT_FALSE(std::filesystem::exists(dir / "Tallyfin/report.json"));
}

}  // namespace
}  // namespace tallyfin
