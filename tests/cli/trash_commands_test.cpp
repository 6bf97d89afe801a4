// tallyfin trash and tallyfin undo on a real Trash in a fake home, with batches
// moved by the trash service itself and touched meanwhile by trash-cli, the way
// a user's other tools would.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "kit/base/clock.h"
#include "kit/history/autopilot.h"
#include "tests/cli/tallyfin_process.h"
#include "tests/support/temp_folder.h"
#include "tests/trash/trash_fixture.h"

namespace tallyfin {
namespace {

using testing::runTallyfin;
using testing::TempHome;
using Origin = TrashItem::Origin;

bool hasTrashCli() {
  return testing::pathExists("/usr/bin/trash-restore") && testing::pathExists("/usr/bin/trash-rm");
}

class TrashCommands : public ::testing::Test {
 protected:
  // Moves the files (made here, `bytes` each) as one batch, `secondsAgo` before now.
  std::string moveBatch(const std::vector<std::string>& names, int64_t bytes, std::optional<std::string> label,
                        double secondsAgo) {
    std::vector<TrashItem> items;
    for (const auto& name : names) {
      testing::writeFile(home / name, static_cast<size_t>(bytes));
      items.push_back({home / name, bytes, Origin::userChoice});
    }
    const auto outcome = home.service().trash(items, label, secondsSinceEpoch() - secondsAgo);
    EXPECT_EQ(outcome.moved.size(), names.size());
    return outcome.batch;
  }

  testing::ProcessResult tallyfin(const std::vector<std::string>& arguments) const {
    return runTallyfin(arguments, home.path());
  }

  TempHome home;
};

TEST_F(TrashCommands, ListsBatchesNewestFirstWithWhoMovedThemAndWhatIsStillThere) {
  const std::string agent = moveBatch({"a/one", "a/two"}, 1000, "AI agent", 300);
  const std::string autopilot = moveBatch({"b/old"}, 500, std::string(Autopilot::kBatchLabel), 200);
  const std::string app = moveBatch({"c/mine"}, 70, std::nullopt, 100);
  ASSERT_TRUE(std::filesystem::remove(home.trashFiles() + "/two"));  // emptied by hand

  const auto result = tallyfin({"trash", "--json"});
  ASSERT_EQ(result.exitCode, 0) << result.err;
  const auto batches = nlohmann::json::parse(result.out)["batches"];
  ASSERT_EQ(batches.size(), 3u);
  EXPECT_EQ(batches[0]["id"], app);
  EXPECT_EQ(batches[0]["origin"], "app");
  EXPECT_TRUE(batches[0]["label"].is_null());
  EXPECT_EQ(batches[1]["id"], autopilot);
  EXPECT_EQ(batches[1]["origin"], "autopilot");
  EXPECT_EQ(batches[2]["id"], agent);
  EXPECT_EQ(batches[2]["origin"], "agent");
  EXPECT_EQ(batches[2]["item_count"], 2);
  EXPECT_EQ(batches[2]["bytes"], 2000);
  EXPECT_EQ(batches[2]["items"][0]["path"], home / "a/one");
  EXPECT_EQ(batches[2]["items"][0]["in_trash"], true);
  EXPECT_EQ(batches[2]["items"][1]["in_trash"], false);
  EXPECT_EQ(batches[2]["items"][1]["trashed_path"], home.trashFiles() + "/two");

  const auto text = tallyfin({"trash"});
  ASSERT_EQ(text.exitCode, 0) << text.err;
  EXPECT_LT(text.out.find(app), text.out.find(agent));
  EXPECT_NE(text.out.find("  in the Trash  ~/a/one"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("  not there     ~/a/two"), std::string::npos) << text.out;
  EXPECT_NE(text.out.find("agent  2 items  2.00 KB"), std::string::npos) << text.out;
}

TEST_F(TrashCommands, AnEmptyJournalListsNothingAndHasNothingToUndo) {
  const auto listed = tallyfin({"trash", "--json"});
  EXPECT_EQ(listed.exitCode, 0);
  EXPECT_EQ(nlohmann::json::parse(listed.out), (nlohmann::json{{"batches", nlohmann::json::array()}}));
  const auto undone = tallyfin({"undo"});
  EXPECT_EQ(undone.exitCode, 1);
  EXPECT_EQ(undone.out, "");
  EXPECT_EQ(undone.err, "tallyfin: Nothing to undo \u2014 the Trash journal has no batches.\n");
  moveBatch({"x"}, 1, std::nullopt, 10);
  const auto unknown = tallyfin({"undo", "b1-nope"});
  EXPECT_EQ(unknown.exitCode, 1);
  EXPECT_EQ(unknown.err, "tallyfin: No batch b1-nope in the Trash journal \u2014 tallyfin trash lists them.\n");
  EXPECT_FALSE(testing::pathExists(home / "x"));
}

TEST_F(TrashCommands, UndoPutsTheNewestBatchBackThenTheOneNamed) {
  const std::string older = moveBatch({"old/a"}, 10, std::nullopt, 200);
  moveBatch({"new/a", "new/b"}, 10, std::nullopt, 100);
  const auto newest = tallyfin({"undo"});
  EXPECT_EQ(newest.exitCode, 0) << newest.err;
  EXPECT_EQ(newest.out, "Put back ~/new/a\nPut back ~/new/b\n");
  EXPECT_TRUE(testing::pathExists(home / "new/a"));
  EXPECT_FALSE(testing::pathExists(home / "old/a"));

  moveBatch({"spare2"}, 1, std::nullopt, 50);  // newer than `older`, left alone
  const auto named = tallyfin({"undo", older, "--json"});
  EXPECT_EQ(named.exitCode, 0) << named.err;
  EXPECT_EQ(nlohmann::json::parse(named.out),
            (nlohmann::json{{"batch", older},
                            {"restored", {home / "old/a"}},
                            {"not_restored", nlohmann::json::array()}}));
  EXPECT_TRUE(testing::pathExists(home / "old/a"));
  EXPECT_FALSE(testing::pathExists(home / "spare2"));
}

TEST_F(TrashCommands, UndoSaysWhatAnotherToolAlreadyDidAndExitsOne) {
  if (!hasTrashCli()) GTEST_SKIP() << "trash-cli is not installed";
  moveBatch({"stuff/restored", "stuff/emptied", "stuff/kept"}, 10, std::nullopt, 100);
  const auto restore = testing::runShell("echo 0 | trash-restore " + home / "stuff/restored", home.path());
  ASSERT_EQ(restore.exitCode, 0) << restore.err;
  ASSERT_TRUE(testing::pathExists(home / "stuff/restored"));
  const auto removed = testing::runShell("trash-rm " + home / "stuff/emptied", home.path());
  ASSERT_EQ(removed.exitCode, 0) << removed.err;

  const auto result = tallyfin({"undo"});
  EXPECT_EQ(result.exitCode, 1);
  EXPECT_EQ(result.out,
            "Put back ~/stuff/kept\n"
            "Not put back ~/stuff/restored \u2014 Already back in its place \u2014 put back with another tool\n"
            "Not put back ~/stuff/emptied \u2014 No longer in the Trash \u2014 it was emptied, or taken out with "
            "another tool\n");
  // Neither can ever come back through the journal, so the batch is gone from it.
  EXPECT_EQ(tallyfin({"undo"}).exitCode, 1);
  EXPECT_EQ(nlohmann::json::parse(tallyfin({"trash", "--json"}).out)["batches"].size(), 0u);
}

TEST_F(TrashCommands, AnOccupiedPlaceKeepsTheItemForALaterUndo) {
  const std::string batch = moveBatch({"place/item"}, 10, std::nullopt, 100);
  testing::writeFile(home / "place/item", 3);  // something new took the name
  const auto blocked = tallyfin({"undo", "--json"});
  EXPECT_EQ(blocked.exitCode, 1);
  const auto json = nlohmann::json::parse(blocked.out);
  EXPECT_EQ(json["restored"].size(), 0u);
  EXPECT_EQ(json["not_restored"][0]["reason"], "Something already exists at the original location");
  EXPECT_EQ(testing::readText(home / "place/item").size(), 3u);  // never overwritten

  std::filesystem::remove(home / "place/item");
  const auto later = tallyfin({"undo", batch});
  EXPECT_EQ(later.exitCode, 0) << later.err;
  EXPECT_EQ(testing::readText(home / "place/item").size(), 10u);
}

TEST_F(TrashCommands, TheSummaryEndsWithNextStepsAndTheUndoOfWhatMovedSinceTheLastScan) {
  ASSERT_EQ(tallyfin({"--root", home.path()}).exitCode, 0);
  moveBatch({"big/one", "big/two"}, 1500, std::nullopt, 0);
  const auto second = tallyfin({"--root", home.path()});
  ASSERT_EQ(second.exitCode, 0) << second.err;
  EXPECT_NE(second.out.find("\nNext: tallyfin --no-scan --top "), std::string::npos) << second.out;
  EXPECT_NE(second.out.find("Moved to the Trash since the last scan: 2 items (3.00 KB) in 1 batch.\n"
                            "      Put the newest back with: tallyfin undo\n"),
            std::string::npos)
      << second.out;

  // Once a scan has seen it, the batch is no news.
  const auto third = tallyfin({"--root", home.path()});
  EXPECT_EQ(third.out.find("Moved to the Trash since"), std::string::npos) << third.out;
  EXPECT_NE(third.out.find("Next: "), std::string::npos);
  EXPECT_EQ(tallyfin({"--no-scan"}).out.find("Moved to the Trash since"), std::string::npos);
}

}  // namespace
}  // namespace tallyfin
