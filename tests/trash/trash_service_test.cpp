#include "kit/trash/trash_service.h"

#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/process.h"
#include "tests/trash/trash_fixture.h"

namespace tallyfin {
namespace {

using Origin = TrashItem::Origin;
using testing::TempHome;
constexpr double kNow = 1'800'000'000;

std::vector<JournalEntry> journalOf(const TempHome& home) {
  return home.store().load<std::vector<JournalEntry>>(Store::File::journal).value_or(
      std::vector<JournalEntry>{});
}

TEST(TrashService, MovesIntoTheFreedesktopTrashAndPutsBack) {
  TempHome home;
  testing::writeFile(home / "Downloads/movie file%.mkv", 4096);
  testing::writeFile(home / "Music/movie file%.mkv", 10);  // the same name, for a second slot
  const auto service = home.service();
  const auto outcome = service.trash({{home / "Downloads/movie file%.mkv", 4096, Origin::userChoice},
                                      {home / "Music/movie file%.mkv", -5, Origin::userChoice}},
                                     "Large files", kNow);
  ASSERT_TRUE(outcome.failed.empty()) << outcome.failed[0].second;
  ASSERT_EQ(outcome.moved.size(), 2u);
  EXPECT_FALSE(outcome.journalError.has_value());
  EXPECT_EQ(outcome.freedBytes(), 4096);
  EXPECT_EQ(outcome.moved[1].size, 0);  // never negative
  EXPECT_TRUE(outcome.batch.starts_with("b1800000000000-"));

  const std::string first = home.trashFiles() + "/movie file%.mkv";
  const std::string second = home.trashFiles() + "/movie file%.mkv.2";
  EXPECT_EQ(outcome.moved[0].trashedPath, first);
  EXPECT_EQ(outcome.moved[1].trashedPath, second);
  EXPECT_FALSE(testing::pathExists(home / "Downloads/movie file%.mkv"));
  const std::string info = testing::readText(home / ".local/share/Trash/info/movie file%.mkv.trashinfo");
  EXPECT_TRUE(info.starts_with("[Trash Info]\nPath=" + home.path() +
                               "/Downloads/movie%20file%25.mkv\nDeletionDate="))
      << info;
  EXPECT_EQ(journalOf(home), outcome.moved);
  struct stat trash;
  ASSERT_EQ(::stat((home / ".local/share/Trash").c_str(), &trash), 0);
  EXPECT_EQ(trash.st_mode & 0777, 0700u);

  const auto batches = service.batches(3650, kNow);
  ASSERT_EQ(batches.size(), 1u);
  EXPECT_EQ(batches[0].label(), "Large files");
  EXPECT_EQ(batches[0].size, 4096);

  const auto undone = service.undo(outcome.batch);
  EXPECT_EQ(undone.restored.size(), 2u);
  EXPECT_TRUE(undone.failed.empty());
  EXPECT_TRUE(testing::pathExists(home / "Downloads/movie file%.mkv"));
  EXPECT_FALSE(testing::pathExists(home / ".local/share/Trash/info/movie file%.mkv.trashinfo"));
  EXPECT_TRUE(journalOf(home).empty());
}

TEST(TrashService, UndoDropsWhatCanNeverComeBackAndKeepsWhatMayLater) {
  TempHome home;
  for (const char* name : {"emptied", "occupied", "relinked/item"}) {
    testing::writeFile(home / (std::string("stuff/") + name), 10);
  }
  const auto service = home.service();
  const auto outcome = service.trash({{home / "stuff/emptied", 10, Origin::userChoice},
                                      {home / "stuff/occupied", 10, Origin::userChoice},
                                      {home / "stuff/relinked/item", 10, Origin::userChoice}},
                                     std::nullopt, kNow);
  ASSERT_EQ(outcome.moved.size(), 3u);
  std::filesystem::remove(outcome.moved[0].trashedPath);  // the user emptied the Trash
  testing::writeFile(home / "stuff/occupied", 1);         // something took the place
  std::filesystem::rename(home / "stuff/relinked", home / "stuff/elsewhere");
  testing::symbolicLink(home / "stuff/elsewhere", home / "stuff/relinked");

  EXPECT_EQ(service.restoreRefusal(outcome.moved[0]), "No longer in the Trash \u2014 it was emptied, or taken out with another tool");
  EXPECT_EQ(service.restoreRefusal(outcome.moved[1]),
            "Something already exists at the original location");
  EXPECT_EQ(service.restoreRefusal(outcome.moved[2]), "Original folder moved or was replaced");

  const auto undone = service.undo(outcome.batch);
  EXPECT_TRUE(undone.restored.empty());
  EXPECT_EQ(undone.failed.size(), 3u);
  const auto left = journalOf(home);
  ASSERT_EQ(left.size(), 2u);  // the emptied one is gone for good
  EXPECT_EQ(left[0].path, home / "stuff/occupied");

  std::filesystem::remove(home / "stuff/occupied");
  const auto later = service.undo(outcome.batch);
  EXPECT_EQ(later.restored, std::vector<std::string>{home / "stuff/occupied"});
  EXPECT_EQ(journalOf(home).size(), 1u);
}

TEST(TrashService, ATrashThatIsALinkIsRefusedBeforeAnythingMoves) {
  TempHome home;
  testing::writeFile(home / "stuff/x", 10);
  testing::makeFolder(home / "elsewhere/Trash");
  testing::symbolicLink(home / "elsewhere/Trash", home / ".local/share/Trash");
  const auto service = home.service();
  const std::string reason = "Your Trash folder " + home / ".local/share/Trash" +
                             " is a link or not a folder \u2014 Tallyfin moves things only into a real Trash folder. "
                             "Replace it with a folder, then try again.";
  EXPECT_EQ(service.refusal(home / "stuff/x", Origin::userChoice), reason);
  const auto outcome = service.trash({{home / "stuff/x", 10, Origin::userChoice}}, {}, kNow);
  ASSERT_EQ(outcome.failed.size(), 1u);
  EXPECT_EQ(outcome.failed[0].second, reason);
  EXPECT_TRUE(testing::pathExists(home / "stuff/x"));
  EXPECT_TRUE(journalOf(home).empty());

  // The trasher itself refuses too, whoever calls it: a files/ folder that is a link.
  std::filesystem::remove(home / ".local/share/Trash");
  testing::makeFolder(home / ".local/share/Trash/info");
  testing::symbolicLink(home / "elsewhere/Trash", home / ".local/share/Trash/files");
  EXPECT_FALSE(systemTrasher(home.path())->trash(home / "stuff/x").ok());
  EXPECT_TRUE(testing::pathExists(home / "stuff/x"));
}

TEST(TrashService, AnEntryStaysUntilItsItemIsBackOrProvablyGone) {
  TempHome home;
  testing::writeFile(home / "stuff/x", 10);
  const auto service = home.service();
  const auto outcome = service.trash({{home / "stuff/x", 10, Origin::userChoice}}, {}, kNow);
  ASSERT_EQ(outcome.moved.size(), 1u);

  // The Trash's files/ folder is swapped for a link for a while: the item is still there.
  const std::string files = home.trashFiles();
  std::filesystem::rename(files, home / "files-aside");
  testing::symbolicLink(home / "files-aside", files);
  const auto refused = service.undo(outcome.batch);
  ASSERT_EQ(refused.failed.size(), 1u);
  EXPECT_EQ(refused.failed[0].second, "Not in your Trash");
  EXPECT_EQ(journalOf(home).size(), 1u);

  std::filesystem::remove(files);
  std::filesystem::rename(home / "files-aside", files);
  const auto later = service.undo(outcome.batch);
  EXPECT_EQ(later.restored, std::vector<std::string>{home / "stuff/x"});
  EXPECT_TRUE(testing::pathExists(home / "stuff/x"));
  EXPECT_TRUE(journalOf(home).empty());
}

TEST(TrashService, ADamagedJournalIsKeptAsideAndTheReplySaysSo) {
  TempHome home;
  const auto service = home.service();
  testing::writeFile(home / "stuff/first", 10);
  const auto first = service.trash({{home / "stuff/first", 10, Origin::userChoice}}, {}, kNow);
  ASSERT_EQ(first.moved.size(), 1u);
  EXPECT_FALSE(first.journalNote.has_value());
  const std::string journal = home.store().url(Store::File::journal);
  const std::string whole = testing::readText(journal);
  const std::string cut = whole.substr(0, whole.size() / 2);  // truncated by a crash
  testing::writeText(journal, cut);

  for (int i = 0; i < 5; ++i) {
    testing::writeFile(home / ("stuff/next" + std::to_string(i)), 10);
    const auto next = service.trash({{home / ("stuff/next" + std::to_string(i)), 10, Origin::userChoice}}, {}, kNow);
    ASSERT_EQ(next.moved.size(), 1u);
    ASSERT_TRUE(next.journalNote.has_value());
    EXPECT_TRUE(next.journalNote->starts_with("Earlier records in trash-journal.json couldn't be read; the "
                                              "damaged file is kept as " + journal + ".corrupt-"))
        << *next.journalNote;
    EXPECT_FALSE(next.journalError.has_value());
    EXPECT_EQ(journalOf(home), next.moved);  // the new batch is recorded
    testing::writeText(journal, cut);        // and the file breaks again
  }
  std::vector<std::string> copies;
  for (const auto& entry : std::filesystem::directory_iterator(home.store().directory())) {
    const std::string name = entry.path().filename();
    if (name.starts_with("trash-journal.json.corrupt-")) copies.push_back(name);
  }
  EXPECT_EQ(copies.size(), Store::kCorruptCopiesKept);
  for (const auto& name : copies) EXPECT_EQ(testing::readText(home.store().directory() + "/" + name), cut);

  // Undo of a batch from before is no longer possible, and says why.
  const auto undone = service.undo(first.batch);
  EXPECT_TRUE(undone.restored.empty());
  ASSERT_TRUE(undone.journalNote.has_value());
}

TEST(TrashService, AnItemThatIsNoLongerWhatWasSeenStays) {
  TempHome home;
  testing::makeFolder(home / "stuff/folder");
  const auto seen = ItemIdentity::of(home / "stuff/folder");
  ASSERT_TRUE(seen.has_value());
  EXPECT_EQ(seen->type, ItemIdentity::Type::folder);
  std::filesystem::rename(home / "stuff/folder", home / "stuff/aside");
  testing::symbolicLink(home / "Documents", home / "stuff/folder");
  const auto service = home.service();
  const std::string replaced = "Replaced since it was checked \u2014 left in place. Rescan and try again.";
  const auto outcome = service.trash({{home / "stuff/folder", 10, Origin::userChoice, seen}}, {}, kNow);
  ASSERT_EQ(outcome.failed.size(), 1u);
  EXPECT_EQ(outcome.failed[0].second, replaced);
  EXPECT_TRUE(std::filesystem::is_symlink(home / "stuff/folder"));

  // A real folder with another inode, or only the type seen by a scan.
  std::filesystem::remove(home / "stuff/folder");
  testing::makeFolder(home / "stuff/folder");
  EXPECT_EQ(service.refusal({home / "stuff/folder", 0, Origin::userChoice, seen}), replaced);
  const ItemIdentity aFile{ItemIdentity::Type::file, std::nullopt, std::nullopt};
  EXPECT_EQ(service.refusal({home / "stuff/folder", 0, Origin::userChoice, aFile}), replaced);
  const ItemIdentity aFolder{ItemIdentity::Type::folder, std::nullopt, std::nullopt};
  EXPECT_EQ(service.refusal({home / "stuff/folder", 0, Origin::userChoice, aFolder}), std::nullopt);
  EXPECT_EQ(service.refusal({home / "stuff/aside", 0, Origin::userChoice, seen}), std::nullopt);
}

TEST(TrashService, ANameThatIsNotUtf8MovesAndComesBackExactly) {
  TempHome home;
  const std::string name = home / "stuff/caf\xe9 \x1b]0;title\x07";
  testing::writeFile(name, 10);
  const auto service = home.service();
  const auto outcome = service.trash({{name, 10, Origin::userChoice}}, "Large files", kNow);
  ASSERT_EQ(outcome.moved.size(), 1u) << outcome.failed[0].second;
  EXPECT_FALSE(outcome.journalError.has_value());
  const auto saved = journalOf(home);
  ASSERT_EQ(saved.size(), 1u);
  EXPECT_EQ(saved[0].path, name);
  EXPECT_EQ(saved[0].trashedPath, outcome.moved[0].trashedPath);
  const auto undone = service.undo(outcome.batch);
  EXPECT_EQ(undone.restored, std::vector<std::string>{name});
  EXPECT_TRUE(testing::pathExists(name));
}

TEST(TrashService, RestoreChecksIdentityAndPlace) {
  TempHome home;
  testing::writeFile(home / "a/file", 10);
  const auto service = home.service();
  const auto moved = service.trash({{home / "a/file", 10, Origin::userChoice}}, {}, kNow).moved;
  ASSERT_EQ(moved.size(), 1u);
  JournalEntry entry = moved[0];

  JournalEntry elsewhere = entry;
  elsewhere.trashedPath = home / "a/file2";
  EXPECT_EQ(service.restoreRefusal(elsewhere), "Not in your Trash");
  JournalEntry nested = entry;
  nested.trashedPath = home.trashFiles() + "/x/y";
  EXPECT_EQ(service.restoreRefusal(nested), "Not in your Trash");
  JournalEntry noIdentity = entry;
  noIdentity.inode.reset();
  EXPECT_EQ(service.restoreRefusal(noIdentity), "A different item has that name in the Trash");
  JournalEntry otherInode = entry;
  *otherInode.inode += 1;
  EXPECT_EQ(service.restoreRefusal(otherInode), "A different item has that name in the Trash");
  for (const std::string& bad : {home / ".ssh/id", std::string("/nonexistent-outside-home/x"), home / "Library"}) {
    JournalEntry forged = entry;
    forged.path = bad;
    EXPECT_EQ(service.restoreRefusal(forged), "Original location isn't allowed") << bad;
  }
  EXPECT_EQ(service.restoreRefusal(entry), std::nullopt);
}

// Misbehaving platforms, which a real Trash cannot be made to be.
class SilentTrasher final : public Trasher {
 public:
  explicit SilentTrasher(std::string into) : into_(std::move(into)) {}
  Expected<std::optional<std::string>, Error> trash(const std::string& path) override {
    std::filesystem::rename(path, into_ + "/silent");
    return std::optional<std::string>();
  }
  Status restore(const std::string&, const std::string&) override { return ok(); }

 private:
  std::string into_;
};

class SwappingTrasher final : public Trasher {
 public:
  explicit SwappingTrasher(std::string into) : into_(std::move(into)) {}
  Expected<std::optional<std::string>, Error> trash(const std::string& path) override {
    const std::string landed = into_ + "/swapped";
    std::filesystem::rename(path, into_ + "/original");
    testing::writeFile(landed, 3);  // something else answers to the name
    return std::optional<std::string>(landed);
  }
  Status restore(const std::string& from, const std::string& to) override {
    restoredFrom = from;
    restoredTo = to;
    std::filesystem::rename(from, to);
    return ok();
  }
  std::string restoredFrom, restoredTo;

 private:
  std::string into_;
};

TEST(TrashService, APlatformThatSaysNothingOrSwapsTheItemIsNotJournalled) {
  TempHome home;
  testing::makeFolder(home / "bin");
  testing::writeFile(home / "stuff/x", 10);
  auto silent = home.service(std::make_shared<SilentTrasher>(home / "bin"));
  const auto quiet = silent.trash({{home / "stuff/x", 10, Origin::userChoice}}, {}, kNow);
  ASSERT_EQ(quiet.failed.size(), 1u);
  EXPECT_EQ(quiet.failed[0].second,
            "Moved to the Trash, but Linux didn't say where \u2014 use your file manager's Restore");
  EXPECT_TRUE(journalOf(home).empty());

  testing::writeFile(home / "stuff/y", 10);
  auto swapper = std::make_shared<SwappingTrasher>(home / "bin");
  const auto swapped =
      home.service(swapper).trash({{home / "stuff/y", 10, Origin::userChoice}}, {}, kNow);
  ASSERT_EQ(swapped.failed.size(), 1u);
  EXPECT_EQ(swapped.failed[0].second, "Changed while moving \u2014 left in place. Rescan and try again.");
  EXPECT_EQ(swapper->restoredFrom, home / "bin/swapped");
  EXPECT_EQ(swapper->restoredTo, home / "stuff/y");
  EXPECT_TRUE(journalOf(home).empty());
}

TEST(TrashService, RefusalsAndVanishedItemsDoNotStopTheBatch) {
  TempHome home;
  testing::writeFile(home / "stuff/keep-going", 10);
  const auto outcome = home.service().trash({{home / ".ssh/id_rsa", 1, Origin::userChoice},
                                             {home / "stuff/missing", 1, Origin::userChoice},
                                             {home / "stuff/keep-going", 10, Origin::userChoice}},
                                            {}, kNow);
  ASSERT_EQ(outcome.failed.size(), 2u);
  EXPECT_EQ(outcome.failed[1].second, "No longer exists");
  EXPECT_EQ(outcome.moved.size(), 1u);
}

TEST(TrashService, AnotherFileSystemIsRefusedNotCopied) {
  if (::geteuid() != 0) GTEST_SKIP() << "mounting a file system needs root";
  TempHome home;
  testing::makeFolder(home / "usb");
  if (::mount("tmpfs", (home / "usb").c_str(), "tmpfs", 0, "size=4m") != 0) {
    GTEST_SKIP() << "this sandbox does not allow mounts";
  }
  testing::writeFile(home / "usb/file", 10);
  const auto outcome = home.service().trash({{home / "usb/file", 10, Origin::userChoice}}, {}, kNow);
  const bool stillThere = testing::pathExists(home / "usb/file");
  ::umount((home / "usb").c_str());
  ASSERT_EQ(outcome.failed.size(), 1u);
  EXPECT_NE(outcome.failed[0].second.find("on another disk than your Trash"), std::string::npos)
      << outcome.failed[0].second;
  EXPECT_TRUE(stillThere);
}

TEST(TrashService, TwoProcessesTrashingAtOnceBothReachTheJournal) {
  TempHome home;
  constexpr int kEach = 25;
  for (int p = 0; p < 2; ++p) {
    for (int i = 0; i < kEach; ++i) testing::writeFile(home / ("p" + std::to_string(p) + "/f" + std::to_string(i)), 1);
  }
  EXPECT_TRUE(testing::runInParallelProcesses(2, [&](int p) {
    const auto service = home.service();
    for (int i = 0; i < kEach; ++i) {
      const auto outcome = service.trash(
          {{home / ("p" + std::to_string(p) + "/f" + std::to_string(i)), 1, Origin::userChoice}},
          {}, kNow);
      if (outcome.moved.size() != 1 || outcome.journalError) return 1;
    }
    return 0;
  }));
  EXPECT_EQ(journalOf(home).size(), 2u * kEach);
}

TEST(TrashService, RetentionOnAppend) {
  TempHome home;
  std::vector<JournalEntry> journal;
  journal.push_back({"/old", "/t/old", 1, kNow - 31'536'001, "b0-old", 1, 1, std::nullopt});
  for (int i = 0; i < 5003; ++i) {
    journal.push_back({"/p" + std::to_string(i), "/t/p", 1, kNow - 10, "b1-x", 1, 1, std::nullopt});
  }
  ASSERT_TRUE(home.store().save(journal, Store::File::journal).ok());
  testing::writeFile(home / "stuff/new", 1);
  ASSERT_EQ(home.service().trash({{home / "stuff/new", 1, Origin::userChoice}}, {}, kNow).moved.size(), 1u);
  const auto after = journalOf(home);
  ASSERT_EQ(after.size(), 5000u);
  EXPECT_EQ(after.back().path, home / "stuff/new");
  EXPECT_EQ(after.front().path, "/p4");
  EXPECT_EQ(Journal::pruned({journal[0]}, kNow).size(), 0u);
  EXPECT_EQ(Journal::pruned({journal[1]}, kNow).size(), 1u);
}

TEST(TrashService, SharesTheTrashWithTrashCli) {
  if (!testing::pathExists("/usr/bin/trash-list") || !testing::pathExists("/usr/bin/trash-put")) {
    GTEST_SKIP() << "trash-cli is not installed";
  }
  TempHome home;
  const std::vector<std::string> environment = {"HOME=" + home.path(),
                                                "XDG_DATA_HOME=" + home / ".local/share",
                                                "PATH=/usr/bin:/bin", "LANG=C.UTF-8"};
  testing::writeFile(home / "stuff/ours", 10);
  testing::writeFile(home / "stuff/theirs", 10);
  const auto service = home.service();
  const auto outcome = service.trash({{home / "stuff/ours", 10, Origin::userChoice}}, {}, kNow);
  ASSERT_EQ(outcome.moved.size(), 1u);
  const auto put = testing::runProcess("/usr/bin/trash-put", {home / "stuff/theirs"}, environment);
  ASSERT_EQ(put.exitCode, 0) << put.err;

  const auto listed = testing::runProcess("/usr/bin/trash-list", {}, environment);
  ASSERT_EQ(listed.exitCode, 0) << listed.err;
  EXPECT_NE(listed.out.find(home / "stuff/ours"), std::string::npos) << listed.out;
  EXPECT_NE(listed.out.find(home / "stuff/theirs"), std::string::npos) << listed.out;

  const auto undone = service.undo(outcome.batch);
  EXPECT_EQ(undone.restored.size(), 1u);
  EXPECT_TRUE(testing::pathExists(home / "stuff/ours"));
  EXPECT_FALSE(testing::pathExists(home / "stuff/theirs"));  // not ours to put back
  EXPECT_TRUE(testing::pathExists(home.trashFiles() + "/theirs"));
}

}  // namespace
}  // namespace tallyfin
