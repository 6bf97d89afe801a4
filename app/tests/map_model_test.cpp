// The disk map's state over a real scanned home: the layout cached by the report's
// date, zooming and the trail back, "Show on Disk Map", live listings of folders
// the report folded away, and moves to the Trash from the map.

#include "app/model/map_model.h"

#include <QSignalSpy>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "app/model/app_model.h"
#include "app/tests/app_home.h"
#include "kit/cleanup/keep_list.h"
#include "tests/support/tree_builder.h"

namespace tallyfin::app {
namespace {

using testing::AppHome;
using testing::eventually;
using tallyfin::testing::allocateFile;
using tallyfin::testing::pathExists;

constexpr int64_t kMiB = 1 << 20;

// A scanned home with a folder the scan folds in part (Music: one album kept, the
// loose tracks folded) and one it keeps only the size of (Projects: every piece
// under the scan's minimum).
class MappedHome : public ::testing::Test {
 protected:
  void SetUp() override {
    allocateFile(home / "Music/album/side-a.flac", 12 * kMiB);
    for (const char* track : {"Music/loose-1.mp3", "Music/loose-2.mp3", "Music/loose-3.mp3"}) {
      allocateFile(home / track, 3 * kMiB / 2);
    }
    allocateFile(home / "Projects/site/bundle.js", 2 * kMiB);
    allocateFile(home / "Projects/tool/build.o", 3 * kMiB);
    home.scanWithCommandLine();
    model.scanner().load();
    ASSERT_TRUE(eventually([&] { return map().mapLayout() != nullptr; }));
  }

  MapModel& map() { return model.map(); }
  const MapPicture& picture() { return *map().mapLayout(); }
  // Waits until the picture shows `folder`.
  bool shows(const std::string& folder) {
    return eventually([&] { return map().mapLayout() && !map().isBuilding() && picture().rootPath() == folder; });
  }

  AppHome home;
  AppModel model{home.environment()};
};

TEST_F(MappedHome, TheLayoutIsKeptForItsReportAndLaidOutAgainForANewOne) {
  const auto first = map().mapLayout();
  EXPECT_EQ(map().mapLayoutDate(), model.scanner().report()->date);
  EXPECT_EQ(first->rootPath(), home.path());  // the folders above the scanned one are skipped
  EXPECT_EQ(first->kind, MapKind::sunburst);

  // The same report read again: the same picture, nothing laid out.
  QSignalSpy reloaded(&model.scanner(), &ScanController::reportChanged);
  model.scanner().load();
  ASSERT_TRUE(eventually([&] { return reloaded.count() > 0; }));
  EXPECT_EQ(map().mapLayout(), first);
  EXPECT_FALSE(map().isBuilding());

  // Zoomed in, a rescan keeps the map where it was and lays it out from the new report.
  map().zoomInto(home / "Music");
  ASSERT_TRUE(shows(home / "Music"));
  allocateFile(home / "Music/album/side-b.flac", 12 * kMiB);
  home.scanWithCommandLine();
  model.scanner().reloadIfChanged();
  ASSERT_TRUE(eventually([&] { return map().mapLayoutDate() != first->reportDate() && !map().isBuilding(); }));
  EXPECT_EQ(map().mapLayoutDate(), model.scanner().report()->date);
  EXPECT_EQ(map().mapLayout()->report, model.scanner().report());
  EXPECT_EQ(picture().rootPath(), home / "Music");
  EXPECT_TRUE(picture().locate(home / "Music/album/side-b.flac").has_value());

  // Another layout of the same folder is laid out anew, for the same report.
  map().setKind(MapKind::city);
  ASSERT_TRUE(eventually([&] { return picture().kind == MapKind::city; }));
  EXPECT_EQ(picture().rootPath(), home / "Music");
}

TEST_F(MappedHome, ZoomingBuildsATrailThatLeadsBack) {
  EXPECT_EQ(map().trail(), std::vector<std::string>{home.path()});
  // Neither a file nor the folder on screen can be zoomed into.
  EXPECT_FALSE(map().zoomInto(home / "Videos/holiday.mkv"));
  EXPECT_FALSE(map().zoomInto(home.path()));
  EXPECT_FALSE(map().zoomInto(home / "no/such/folder"));

  // Straight into a folder three levels down: every folder on the way is on the trail.
  ASSERT_TRUE(map().zoomInto(home / ".cache/huggingface/hub"));
  EXPECT_EQ(map().trail(), (std::vector<std::string>{home.path(), home / ".cache", home / ".cache/huggingface",
                                                     home / ".cache/huggingface/hub"}));
  ASSERT_TRUE(shows(home / ".cache/huggingface/hub"));
  EXPECT_EQ(map().focus(), "");  // the view starts at the largest item

  map().zoomTo(1);
  EXPECT_EQ(map().trail(), (std::vector<std::string>{home.path(), home / ".cache"}));
  EXPECT_EQ(map().focus(), home / ".cache/huggingface");  // where the cursor comes back to
  ASSERT_TRUE(shows(home / ".cache"));

  map().zoomOut();
  EXPECT_EQ(map().trail(), std::vector<std::string>{home.path()});
  EXPECT_EQ(map().focus(), home / ".cache");
  ASSERT_TRUE(shows(home.path()));
  map().zoomOut();  // already where the map opens
  EXPECT_EQ(map().trail(), std::vector<std::string>{home.path()});
  map().zoomTo(0);
  EXPECT_EQ(map().trail(), std::vector<std::string>{home.path()});
}

TEST_F(MappedHome, ShowOnDiskMapOpensTheFolderThatShowsThePath) {
  model.showOnDiskMap(home / "Videos/holiday.mkv");
  EXPECT_EQ(model.route(), Route::map);
  EXPECT_FALSE(model.mapFocusRequest().has_value());  // there is a report: handed over at once
  EXPECT_EQ(map().trail().back(), home / "Videos");
  EXPECT_EQ(map().focus(), home / "Videos/holiday.mkv");
  ASSERT_TRUE(shows(home / "Videos"));
  const auto file = picture().locate(map().focus());
  ASSERT_TRUE(file.has_value());
  EXPECT_EQ(picture().path(*file), home / "Videos/holiday.mkv");

  // A track the scan folded away shows in its folder, as the folded items.
  model.showOnDiskMap(home / "Music/loose-2.mp3");
  EXPECT_EQ(map().trail().back(), home / "Music");
  ASSERT_TRUE(shows(home / "Music"));
  const auto folded = picture().locate(home / "Music/loose-2.mp3");
  ASSERT_TRUE(folded.has_value());
  EXPECT_TRUE(picture().entry(*folded).aggregate());
}

TEST(MapOpening, AWholeDiskOpensAtTheHomeFolderWithTheFoldersAboveOnTheTrail) {
  auto report = std::make_shared<ScanReport>();
  report->date = 1'800'000'000;
  report->tree = tallyfin::testing::TreeBuilder()
                     .add("/var/lib/docker", 800)
                     .add("/home/ann/Videos/film.mkv", 500, DiskNode::Kind::file)
                     .add("/home/ann/.cache", 300)
                     .add("/home/bob/old", 100)
                     .build();
  MapModel ann("/home/ann");
  ann.setReport(report);
  EXPECT_EQ(ann.trail(), (std::vector<std::string>{"/", "/home", "/home/ann"}));
  ASSERT_TRUE(eventually([&] { return ann.mapLayout() != nullptr; }));
  EXPECT_EQ(ann.mapLayout()->rootPath(), "/home/ann");
  ann.zoomTo(0);
  EXPECT_EQ(ann.trail(), std::vector<std::string>{"/"});

  // A home the report does not hold (a scan of another folder): where the tree branches.
  MapModel elsewhere("/home/carol");
  elsewhere.setReport(report);
  EXPECT_EQ(elsewhere.trail(), std::vector<std::string>{"/"});
  elsewhere.setReport(nullptr);
  EXPECT_TRUE(elsewhere.trail().empty());
  EXPECT_EQ(elsewhere.mapLayout(), nullptr);
}

TEST(MapFocusRequest, WaitsForTheReportAndThenOpensTheMapThere) {
  AppHome home;
  home.scanWithCommandLine();
  AppModel model{home.environment()};
  model.showOnDiskMap(home / ".cache/pip/http/blob");
  EXPECT_EQ(model.route(), Route::map);
  EXPECT_EQ(model.mapFocusRequest(), home / ".cache/pip/http/blob");
  EXPECT_TRUE(model.map().trail().empty());
  model.scanner().load();
  ASSERT_TRUE(eventually([&] { return model.map().mapLayout() != nullptr; }));
  EXPECT_FALSE(model.mapFocusRequest().has_value());
  // The deepest folder the report holds on the way: the file's own folder.
  EXPECT_EQ(model.map().trail().back(), home / ".cache/pip/http");
  EXPECT_EQ(model.map().mapLayout()->rootPath(), home / ".cache/pip/http");
  EXPECT_EQ(model.map().focus(), home / ".cache/pip/http/blob");
}

TEST_F(MappedHome, AFoldedFolderIsListedLiveAndDrawnFromTheListing) {
  map().zoomInto(home / "Music");
  ASSERT_TRUE(shows(home / "Music"));
  EXPECT_EQ(map().contents(), MapModel::Contents::folded);
  EXPECT_GE(map().foldedBytes(), 4 * kMiB);
  const auto loose = picture().locate(home / "Music/loose-1.mp3");
  ASSERT_TRUE(loose.has_value());
  EXPECT_TRUE(picture().entry(*loose).aggregate());  // one of the folded items, not drawn on its own

  map().listLive();
  EXPECT_TRUE(map().isListing());
  ASSERT_TRUE(eventually([&] { return map().contents() == MapModel::Contents::listedLive && !map().isBuilding(); }));
  EXPECT_FALSE(map().isListing());
  ASSERT_NE(map().mapLayout()->live, nullptr);
  for (const char* track : {"Music/loose-1.mp3", "Music/loose-2.mp3", "Music/loose-3.mp3"}) {
    const auto shown = picture().locate(home / track);
    ASSERT_TRUE(shown.has_value()) << track;
    EXPECT_EQ(picture().path(*shown), home / track);
  }
  // The listing is of this report: a new report forgets it.
  const double listedFor = model.scanner().report()->date;
  allocateFile(home / "Music/loose-4.mp3", 3 * kMiB / 2);
  home.scanWithCommandLine();
  model.scanner().reloadIfChanged();
  ASSERT_TRUE(eventually([&] {
    return map().mapLayoutDate() && *map().mapLayoutDate() != listedFor && !map().isBuilding();
  }));
  EXPECT_EQ(map().contents(), MapModel::Contents::folded);
  EXPECT_EQ(map().mapLayout()->live, nullptr);
}

TEST_F(MappedHome, AFolderKeptOnlyBySizeIsListedLiveAndItsItemsMoveToTheTrash) {
  ASSERT_TRUE(map().zoomInto(home / "Projects"));
  ASSERT_TRUE(shows(home / "Projects"));
  EXPECT_EQ(map().contents(), MapModel::Contents::notHeld);
  EXPECT_EQ(picture().size(), 1u);  // the folder alone: nothing inside to draw

  map().listLive();
  ASSERT_TRUE(eventually([&] { return map().contents() == MapModel::Contents::listedLive && !map().isBuilding(); }));
  ASSERT_TRUE(picture().locate(home / "Projects/tool").has_value());
  ASSERT_TRUE(map().zoomInto(home / "Projects/tool"));  // deeper, inside the listing
  ASSERT_TRUE(shows(home / "Projects/tool"));
  EXPECT_EQ(map().contents(), MapModel::Contents::listedLive);

  // Not in the report, but seen by the listing: it moves, and comes back with Undo.
  model.trashFiles({{home / "Projects/site", 2 * kMiB}}, "site");
  ASSERT_TRUE(eventually([&] { return model.trash().lastOutcome().has_value(); }));
  ASSERT_EQ(model.trash().lastOutcome()->moved.size(), 1u);
  EXPECT_FALSE(pathExists(home / "Projects/site"));
  EXPECT_TRUE(pathExists(home.trashFiles() + "/site/bundle.js"));
  model.undo(model.trash().lastOutcome()->batch);
  ASSERT_TRUE(eventually([&] { return pathExists(home / "Projects/site/bundle.js"); }));

  // A link put where the listing saw a folder stays where it is.
  std::filesystem::rename(home / "Projects/tool", home / "elsewhere");
  std::filesystem::create_directory_symlink(home / "elsewhere", home / "Projects/tool");
  model.trashFiles({{home / "Projects/tool", 3 * kMiB}}, "tool");
  ASSERT_TRUE(eventually([&] {
    return model.trash().lastOutcome() && !model.trash().lastOutcome()->failed.empty();
  }));
  EXPECT_TRUE(model.trash().lastOutcome()->moved.empty());
  EXPECT_EQ(model.trash().lastOutcome()->failed[0].second,
            "Replaced since it was checked \u2014 left in place. Rescan and try again.");
  EXPECT_TRUE(std::filesystem::is_symlink(home / "Projects/tool"));
}

TEST_F(MappedHome, AFolderOnTheMapMovesToTheTrashOrIsKept) {
  // A folder that is no suggestion: the map moves it as the user's own choice.
  ASSERT_TRUE(picture().locate(home / "Music/album").has_value());
  model.trashFiles({{home / "Music/album", 12 * kMiB}}, "album");
  ASSERT_TRUE(eventually([&] { return model.trash().lastOutcome().has_value(); }));
  ASSERT_EQ(model.trash().lastOutcome()->moved.size(), 1u);
  EXPECT_FALSE(pathExists(home / "Music/album"));
  EXPECT_TRUE(model.trash().removed().contains(home / "Music/album"));

  // The home folder itself is refused, as everywhere else.
  model.trashFiles({{home.path(), 1}}, "home");
  ASSERT_TRUE(eventually([&] {
    return model.trash().lastOutcome() && model.trash().lastOutcome()->failed.size() == 1;
  }));
  EXPECT_TRUE(pathExists(home.path()));

  model.setKept({home / "Videos"}, true);
  ASSERT_TRUE(eventually([&] { return model.keep().contains(home / "Videos"); }));
  EXPECT_TRUE(KeepList::paths(home.store()).contains(home / "Videos"));
}

TEST(MapRecommendations, LeadToTheMapAndLeaveOutWhatIsKept) {
  AppHome home;
  const std::string image = home / "Downloads/installer.iso";
  allocateFile(image, 1'100'000'000);
  home.scanWithCommandLine();
  AppModel model{home.environment()};
  model.scanner().load();
  const auto speaksOfImage = [&](const Recommendation& advice) {
    return std::find(advice.items.begin(), advice.items.end(), image) != advice.items.end() ||
           std::find(advice.paths.begin(), advice.paths.end(), image) != advice.paths.end();
  };
  const auto mentioned = [&] {
    const auto& found = model.map().recommendations();
    return std::find_if(found.begin(), found.end(), speaksOfImage) != found.end();
  };
  ASSERT_TRUE(eventually(mentioned));
  const auto& found = model.map().recommendations();
  const Recommendation advice = *std::find_if(found.begin(), found.end(), speaksOfImage);
  ASSERT_FALSE(advice.mapPath.empty());
  model.map().focusOn(advice.mapPath);
  EXPECT_TRUE(image == advice.mapPath || image.starts_with(advice.mapPath + "/")) << advice.mapPath;
  EXPECT_TRUE(image.starts_with(model.map().folder() + "/")) << model.map().folder();

  model.setKept({image}, true);
  ASSERT_TRUE(eventually([&] { return model.keep().contains(image) && !model.map().isRecommending(); }));
  EXPECT_FALSE(mentioned());
}

}  // namespace
}  // namespace tallyfin::app
