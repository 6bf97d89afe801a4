#include "kit/map/map_entry.h"

#include <gtest/gtest.h>

#include "kit/map/sunburst.h"
#include "kit/map/treemap.h"
#include "tests/support/tree_builder.h"

namespace tallyfin::map {
namespace {

using testing::TreeBuilder;
using Kind = DiskNode::Kind;

constexpr Rect kScreen{0, 0, 1600, 1000};

DiskNode homeTree() {
  return TreeBuilder()
      .add("/home/ann/code/app/node_modules/react", 300)
      .add("/home/ann/code/app/node_modules/x.js", 90, Kind::file)
      .add("/home/ann/Movies/film.mp4", 700, Kind::file, 1'700'000'000)
      .add("/home/ann/Movies/clip1.mov", 30, Kind::file)
      .add("/home/ann/Movies/clip2.mov", 30, Kind::file)
      .add("/home/ann/Movies/rest", 50, Kind::smaller)
      .add("/home/ann/empty", 400)
      .add("/home/ann/locked", 200, Kind::unreadable)
      .add("/home/ann/.cache/thing/data.bin", 250, Kind::file)
      .build();
}

template <class Layout>
const auto& shapeAt(const Layout& layout, std::string_view path) {
  const auto index = layout.locate(path);
  EXPECT_TRUE(index.has_value()) << path;
  return layout.shapes()[index.value_or(0)];
}

TEST(MapEntries, PathsAreBuiltFromTheParentChain) {
  const DiskNode tree = homeTree();
  const auto layout = treemap(*tree.node("home/ann"), "/home/ann", kScreen);
  size_t checked = 0;
  for (size_t i = 0; i < layout.shapes().size(); ++i) {
    const auto& tile = layout.shapes()[i];
    const std::string path = layout.path(i);
    if (tile.aggregate()) {
      EXPECT_EQ(path, "");
      EXPECT_EQ(layout.folderPath(i), layout.path(static_cast<size_t>(tile.parent)));
      continue;
    }
    ASSERT_EQ(path.rfind("/home/ann", 0), 0u) << path;
    EXPECT_EQ(tree.node(path), tile.node) << path;
    ++checked;
  }
  EXPECT_EQ(checked, layout.shapes().size() - 1);  // all but Movies' folded items
  const auto film = *layout.locate("/home/ann/Movies/film.mp4");
  EXPECT_EQ(layout.folderPath(film), "/home/ann/Movies");
  EXPECT_EQ(layout.folderPath(0), "/home/ann");
  // From the very top, paths start at "/" without doubling it.
  const auto top = treemap(tree, "/", kScreen);
  EXPECT_EQ(top.path(*top.locate("/home")), "/home");
  EXPECT_EQ(top.path(0), "/");
}

TEST(MapEntries, LabelsNameAggregatesHonestly) {
  MapEntry entry;
  entry.kind = Kind::smaller;
  EXPECT_EQ(label(entry), "Smaller items");
  entry.mergedCount = 1;
  EXPECT_EQ(label(entry), "1 smaller item");
  entry.mergedCount = 12;
  EXPECT_EQ(label(entry), "12 smaller items");
  entry.folded = true;  // the scan's own folded items are among them: their number is unknown
  EXPECT_EQ(label(entry), "Smaller items");
  const DiskNode tree = homeTree();
  EXPECT_EQ(label(entryFor(*tree.node("home/ann/empty"), 0, 1, std::nullopt)), "empty");
}

TEST(MapEntries, MarkFoldedAndUnlistedFolders) {
  const DiskNode tree = homeTree();
  const auto layout = treemap(tree, "/", kScreen);
  EXPECT_TRUE(shapeAt(layout, "/home/ann/empty").childrenNotHeld);
  EXPECT_FALSE(shapeAt(layout, "/home/ann/locked").childrenNotHeld);  // nothing to list
  EXPECT_FALSE(shapeAt(layout, "/home/ann/Movies").childrenNotHeld);
  EXPECT_EQ(shapeAt(layout, "/home/ann/Movies").foldedBytes, 50);
  EXPECT_EQ(shapeAt(layout, "/home/ann").foldedBytes, 0);
  const auto& folded = shapeAt(layout, "/home/ann/Movies/anything-small.txt");
  EXPECT_TRUE(folded.folded);
  EXPECT_TRUE(folded.aggregate());
  EXPECT_EQ(folded.size, 50);
}

TEST(MapEntries, FileKindsFollowNamesAndTheFoldersAbove) {
  const DiskNode tree = homeTree();
  const auto layout = treemap(tree, "/", kScreen);
  EXPECT_EQ(shapeAt(layout, "/home/ann/Movies/film.mp4").fileKind, FileKind::video);
  EXPECT_EQ(shapeAt(layout, "/home/ann/Movies").fileKind, std::nullopt);
  EXPECT_EQ(shapeAt(layout, "/home/ann/code/app/node_modules").fileKind, FileKind::dev);
  EXPECT_EQ(shapeAt(layout, "/home/ann/code/app/node_modules/react").fileKind, FileKind::dev);
  EXPECT_EQ(shapeAt(layout, "/home/ann/.cache/thing/data.bin").fileKind, FileKind::caches);
  // Laid out from inside a forcing folder, the root already carries its kind.
  const auto inside =
      treemap(*tree.node("home/ann/.cache/thing"), "/home/ann/.cache/thing", kScreen);
  EXPECT_EQ(inside.shapes()[0].fileKind, FileKind::caches);
  EXPECT_EQ(inside.shapes()[1].fileKind, FileKind::caches);
}

TEST(MapEntries, LocateFindsTheShapeThatShowsAPath) {
  const DiskNode tree = homeTree();
  const auto deep = sunburst(tree, "/", {8, 0.0001});
  EXPECT_EQ(deep.locate("/"), 0u);
  EXPECT_EQ(deep.shapes()[*deep.locate("/home/ann/code/app/node_modules/x.js")].name(), "x.js");
  // Two rings only: a deep path shows as its nearest drawn folder.
  const auto shallow = sunburst(tree, "/", {2, 0.0001});
  EXPECT_EQ(shallow.path(*shallow.locate("/home/ann/code/app/node_modules/x.js")), "/home/ann");
  // Wide minimum: Movies' folded items and small siblings merge; the path shows as that group.
  const auto coarse = sunburst(*tree.node("home/ann/Movies"), "/home/ann/Movies", {3, 0.5});
  const auto group = coarse.locate("/home/ann/Movies/tiny.txt");
  ASSERT_TRUE(group.has_value());
  EXPECT_EQ(coarse.shapes()[*group].mergedCount, 3);
  EXPECT_EQ(label(coarse.shapes()[*group]), "Smaller items");
  EXPECT_EQ(coarse.locate("/home/ann/Movies/clip2.mov"), group);
  EXPECT_EQ(coarse.locate("/elsewhere"), std::nullopt);
  EXPECT_EQ(coarse.locate("/home/ann/Movie"), std::nullopt);
}

TEST(MapEntries, FocusOpensTheDeepestFolderHeldOnTheWay) {
  const DiskNode tree = homeTree();
  const auto expectFocus = [&](std::string_view path, std::string_view folder) {
    const MapFocus focus = focusFor(tree, path);
    EXPECT_EQ(focus.path, folder) << path;
    EXPECT_EQ(focus.node, tree.node(folder)) << path;
  };
  expectFocus("/home/ann/code/app/node_modules", "/home/ann/code/app/node_modules");
  expectFocus("/home/ann/Movies/film.mp4", "/home/ann/Movies");
  expectFocus("/home/ann/Movies/folded-away.txt", "/home/ann/Movies");
  expectFocus("/home/ann/locked/inside", "/home/ann");  // nothing to show inside
  expectFocus("/nowhere/at/all", "/");
  expectFocus("/", "/");
}

TEST(MapEntries, AWholeReportOpensWhereTheTreeFirstBranches) {
  // The folders above the one scanned each hold only it: the map skips them.
  const DiskNode home = homeTree();
  const MapFocus opening = openingFolder(home);
  EXPECT_EQ(opening.path, "/home/ann");
  EXPECT_EQ(opening.node, home.node("home/ann"));

  // A folder that holds one folder and bytes of its own is where the map opens.
  const DiskNode withOwnFiles = TreeBuilder()
                                    .add("/srv/site/data/a", 100)
                                    .add("/srv/site/rest", 20, Kind::smaller)
                                    .build();
  EXPECT_EQ(openingFolder(withOwnFiles).path, "/srv/site");

  // A single file under the root: the root itself.
  const DiskNode oneFile = TreeBuilder().add("/only.bin", 10, Kind::file).build();
  EXPECT_EQ(openingFolder(oneFile).path, "/");
  EXPECT_EQ(openingFolder(DiskNode{}).path, "/");
}

}  // namespace
}  // namespace tallyfin::map
