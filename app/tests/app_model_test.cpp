#include "app/model/app_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "app/tests/app_home.h"
#include "kit/cleanup/keep_list.h"
#include "kit/store/format.h"

namespace tallyfin::app {
namespace {

using testing::AppHome;
using testing::eventually;
using tallyfin::testing::pathExists;

// A model over a home the app has scanned once, with its suggestions listed.
class ScannedHome : public ::testing::Test {
 protected:
  void SetUp() override {
    model.scanner().load();
    model.scanner().scan();
    ASSERT_TRUE(eventually([&] { return model.scanner().report() != nullptr && !model.scanner().isScanning(); }));
    ASSERT_TRUE(listed(pip));
    ASSERT_TRUE(listed(npm));
  }

  bool listed(const std::string& path) const {
    const auto& items = model.cleanup();
    return std::any_of(items.begin(), items.end(), [&](const CleanupItem& item) { return item.path == path; });
  }

  AppHome home;
  AppModel model{home.environment()};
  const std::string pip = home / ".cache/pip";
  const std::string npm = home / ".npm/_cacache";
};

TEST_F(ScannedHome, TickedItemsMoveToTheTrashAsOneBatchAndUndoPutsThemBack) {
  model.toggle(pip);
  model.toggle(npm);
  model.toggle(home / ".cache/huggingface/hub/models--tiny");
  model.toggle(home / ".cache/huggingface/hub/models--tiny");  // ticked and unticked again
  ASSERT_EQ(model.selection(), (std::set<std::string>{npm, pip}));

  model.trashSelection();
  ASSERT_TRUE(eventually([&] { return model.trash().lastOutcome().has_value(); }));
  const TrashOutcome& outcome = *model.trash().lastOutcome();
  ASSERT_EQ(outcome.moved.size(), 2u);
  EXPECT_TRUE(outcome.failed.empty());
  EXPECT_FALSE(pathExists(pip));
  EXPECT_FALSE(pathExists(npm));
  EXPECT_TRUE(pathExists(home.trashFiles() + "/pip"));
  EXPECT_TRUE(pathExists(home.trashFiles() + "/_cacache"));

  // Gone from the list and from the selection; the banner says what happened.
  EXPECT_FALSE(listed(pip));
  EXPECT_FALSE(listed(npm));
  EXPECT_TRUE(model.selection().empty());
  EXPECT_EQ(model.trash().removed(), (std::set<std::string>{npm, pip}));
  ASSERT_TRUE(model.notice().has_value());
  EXPECT_TRUE(model.noticeIsSuccess());
  EXPECT_EQ(*model.notice(), "Moved 2 items to the Trash \u2014 freed " + Format::bytes(outcome.freedBytes()) + ".");
  ASSERT_FALSE(model.trash().batches().empty());
  EXPECT_EQ(model.trash().batches().front().id, outcome.batch);
  EXPECT_EQ(model.trash().batches().front().label(), "Cleanup: 2 items");

  model.undo(outcome.batch);
  ASSERT_TRUE(eventually([&] { return !model.trash().isTrashing() && listed(pip); }));
  EXPECT_TRUE(pathExists(pip + "/http/blob"));
  EXPECT_TRUE(pathExists(npm + "/content/blob"));
  EXPECT_TRUE(listed(npm));
  EXPECT_TRUE(model.trash().removed().empty());
  EXPECT_TRUE(model.trash().batches().empty());
  EXPECT_FALSE(model.trash().lastOutcome().has_value());
  EXPECT_EQ(*model.notice(), "Put back 2 items.");
  EXPECT_TRUE(model.noticeIsSuccess());
}

TEST_F(ScannedHome, AnItemGoneSinceTheScanIsRefusedWithItsReasonAndTheRestMoves) {
  std::filesystem::remove_all(pip);
  model.setSelected({pip, npm}, true);
  model.trashSelection();
  ASSERT_TRUE(eventually([&] { return model.trash().lastOutcome().has_value(); }));
  const TrashOutcome& outcome = *model.trash().lastOutcome();
  ASSERT_EQ(outcome.moved.size(), 1u);
  ASSERT_EQ(outcome.failed.size(), 1u);
  EXPECT_EQ(outcome.failed[0].first, pip);
  EXPECT_FALSE(model.noticeIsSuccess());
  const std::string& notice = *model.notice();
  EXPECT_TRUE(notice.starts_with("Moved 1 of 2 items to the Trash")) << notice;
  EXPECT_EQ(outcome.failed[0].second, "No longer exists");
  EXPECT_NE(notice.find("~/.cache/pip: No longer exists."), std::string::npos) << notice;
  EXPECT_TRUE(listed(pip));  // not moved by us: the report still lists it
  EXPECT_FALSE(listed(npm));
}

TEST_F(ScannedHome, AFolderSwappedForALinkSinceTheScanStaysWhereItIs) {
  // The link points at a real folder of the same name, so only the type gives it away.
  const std::string elsewhere = home / "elsewhere";
  std::filesystem::rename(pip, elsewhere);
  std::filesystem::create_directory_symlink(elsewhere, pip);
  model.setSelected({pip}, true);
  model.trashSelection();
  ASSERT_TRUE(eventually([&] { return model.trash().lastOutcome().has_value(); }));
  const TrashOutcome& outcome = *model.trash().lastOutcome();
  EXPECT_TRUE(outcome.moved.empty());
  ASSERT_EQ(outcome.failed.size(), 1u);
  EXPECT_EQ(outcome.failed[0].second, "Replaced since it was checked — left in place. Rescan and try again.");
  EXPECT_TRUE(std::filesystem::is_symlink(pip));
  EXPECT_TRUE(pathExists(elsewhere));
}

TEST_F(ScannedHome, KeepingHidesAnItemAndUnkeepingBringsItBack) {
  model.toggle(pip);
  model.setKept({pip}, true);
  ASSERT_TRUE(eventually([&] { return model.keep().contains(pip); }));
  EXPECT_EQ(KeepList::paths(home.store()), std::set<std::string>{pip});
  EXPECT_FALSE(listed(pip));
  EXPECT_TRUE(model.selection().empty());
  EXPECT_EQ(*model.notice(), "Keeping 1 item \u2014 Tallyfin won't suggest it again.");

  model.setKept({pip}, false);
  ASSERT_TRUE(eventually([&] { return model.keep().empty(); }));
  EXPECT_TRUE(listed(pip));
  EXPECT_TRUE(KeepList::paths(home.store()).empty());
}

TEST_F(ScannedHome, ForgettingTheScansKeepsTheKeepListAndTheJournal) {
  model.setKept({npm}, true);
  ASSERT_TRUE(eventually([&] { return model.keep().contains(npm); }));
  model.toggle(pip);
  model.trashSelection();
  ASSERT_TRUE(eventually([&] { return model.trash().lastOutcome().has_value(); }));
  model.toggle(home / ".cache/huggingface/hub/models--tiny");
  model.tools().systemData = std::vector<SystemDataPart>{};

  model.scanner().deleteData();
  ASSERT_TRUE(eventually([&] { return model.scanner().report() == nullptr; }));
  for (const auto file : {Store::File::report, Store::File::history, Store::File::snapshot, Store::File::folderHistory}) {
    EXPECT_FALSE(home.store().modificationDate(file).has_value()) << Store::fileName(file);
  }
  EXPECT_EQ(KeepList::paths(home.store()), std::set<std::string>{npm});
  EXPECT_TRUE(home.store().modificationDate(Store::File::journal).has_value());
  EXPECT_EQ(model.trash().batches().size(), 1u);
  EXPECT_TRUE(model.scanner().history().empty());
  EXPECT_TRUE(model.cleanup().empty());
  EXPECT_TRUE(model.selection().empty());
  EXPECT_FALSE(model.trash().lastOutcome().has_value());
  EXPECT_FALSE(model.tools().systemData.has_value());
}

TEST(AppModel, MirroredSettingsAreWrittenAtOnceAndReadBackByTheNextStart) {
  AppHome home;
  {
    AppModel model(home.environment());
    EXPECT_TRUE(model.showMenuBar());
    EXPECT_TRUE(model.menuBarShowsFree());
    EXPECT_FALSE(model.hideDockWhenClosed());
    EXPECT_EQ(model.appearance(), Appearance::system);
    model.setMenuBarShowsFree(false);
    model.setHideDockWhenClosed(true);
    model.setAppearance(Appearance::dark);
    const Preferences preferences = home.environment().preferences;
    ASSERT_TRUE(eventually([&] { return preferences.appearance() == Appearance::dark; }));
    ASSERT_TRUE(eventually([&] { return preferences.flag(Preferences::Flag::menuBarHideDock); }));
    ASSERT_TRUE(eventually([&] { return !preferences.flag(Preferences::Flag::menuBarShowFree); }));
  }
  const AppModel next(home.environment());
  EXPECT_FALSE(next.menuBarShowsFree());
  EXPECT_TRUE(next.hideDockWhenClosed());
  EXPECT_EQ(next.appearance(), Appearance::dark);
}

TEST(Route, FifteenScreensInSidebarOrderNamedForTheCommandLine) {
  ASSERT_EQ(kRoutes.size(), 15u);
  EXPECT_EQ(kRoutes.front(), Route::overview);
  EXPECT_EQ(kRoutes[3], Route::largeFiles);
  EXPECT_EQ(kRoutes.back(), Route::profile);
  for (const Route route : kRoutes) {
    EXPECT_EQ(routeNamed(caseName(route)), route);
    EXPECT_EQ(kRoutes[static_cast<size_t>(position(route))], route);
  }
  EXPECT_EQ(routeNamed("largefiles"), Route::largeFiles);
  EXPECT_EQ(routeNamed("Cleanup"), Route::cleanup);
  EXPECT_EQ(routeNamed("large-files"), std::nullopt);
  EXPECT_EQ(routeNamed(""), std::nullopt);
}

}  // namespace
}  // namespace tallyfin::app
