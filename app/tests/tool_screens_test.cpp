// The disk tools' screens in the real window, driven offscreen as a user would:
// lists, ticks, Copy and the confirmation before anything moves.

#include <gtest/gtest.h>

#include <QAbstractProxyModel>
#include <QCheckBox>
#include <QClipboard>
#include <QGuiApplication>
#include <QLabel>
#include <QPushButton>
#include <QTreeWidget>

#include "app/model/app_model.h"
#include "app/tests/app_home.h"
#include "app/tests/find_widget.h"
#include "app/views/apps_screen.h"
#include "app/views/docker_screen.h"
#include "app/views/duplicates_screen.h"
#include "app/views/main_window.h"
#include "app/views/projects_screen.h"
#include "app/views/tool_parts.h"
#include "app/views/trash_confirmation.h"
#include "tests/support/app_bundle.h"

namespace tallyfin::app {
namespace {

using tallyfin::testing::MiB;
using tallyfin::testing::pathExists;
using testing::AppHome;
using testing::eventually;
using testing::find;

// A scanned home with a project, two copies of a download, two apps and a docker
// that answers, and the window open on it.
class ToolWindow : public ::testing::Test {
 protected:
  void SetUp() override {
    tallyfin::testing::writeFile(project + "/package.json", 20);
    tallyfin::testing::allocateFile(project + "/node_modules/lib/index.js", 12 << 20);
    tallyfin::testing::patternFile(older, 2 * MiB, 4);
    tallyfin::testing::patternFile(newer, 2 * MiB, 4);
    tallyfin::testing::setModified(older, 1'600'000'000);
    tallyfin::testing::setModified(newer, 1'700'000'000);
    tallyfin::testing::writeInfoPlist(home / "Applications/Calculator.app",
                                      {{"CFBundleIdentifier", "com.apple.calculator"}});
    tallyfin::testing::writeInfoPlist(home / "Applications/Sketchbook.app",
                                      {{"CFBundleIdentifier", "com.example.sketch"}});
    tallyfin::testing::writeFile(home / "Library/Caches/com.example.sketch/cache.db", 5'000);
    tallyfin::testing::writeFile(home / "Library/Containers/com.example.sketch/Data/Documents/drawing.sk", 100);
    tallyfin::testing::writeText(home / "bin/docker",
                                 "#!/bin/sh\necho '{\"Type\":\"Images\",\"TotalCount\":\"3\",\"Active\":\"1\","
                                 "\"Size\":\"2GB\",\"Reclaimable\":\"1.5GB (75%)\"}'\n");
    tallyfin::testing::setMode(home / "bin/docker", 0755);
    home.scanWithCommandLine();
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    model.scanner().load();
    ASSERT_TRUE(eventually([&] { return model.scanner().report() != nullptr; }));
  }

  AppEnvironment environment() const {
    AppEnvironment environment = home.environment();
    environment.dockerPlaces = {home / "bin/docker"};
    return environment;
  }

  template <class Screen>
  Screen* open(Route route) {
    model.setRoute(route);
    return qobject_cast<Screen*>(window.screen(route));
  }

  // Agrees to the confirmation the last click opened, once it shows; how many items it listed.
  int confirm() {
    TrashConfirmation* dialog = nullptr;
    if (!eventually([&] { return (dialog = window.findChild<TrashConfirmation*>()) && dialog->isVisible(); })) return 0;
    const int listed = dialog->findChild<QTreeWidget*>()->topLevelItemCount();
    QTest::mouseClick(find<QPushButton>(dialog, "confirmMove"), Qt::LeftButton);
    return listed;
  }

  QString notice() { return find<QLabel>(&window, "noticeText")->text(); }

  // The index of `key` in the list as shown.
  static QModelIndex shown(ToolList* list, const std::string& key) {
    return list->sorted()->mapFromSource(list->rows()->indexOf(key));
  }

  AppHome home;
  const std::string project = home / "code/web";
  const std::string older = home / "Downloads/photos.zip";
  const std::string newer = home / "Downloads/photos (2).zip";
  AppModel model{environment()};
  MainWindow window{model, ScreenRegistry::standard()};
};

TEST_F(ToolWindow, DuplicatesKeepOneCopyOfEachSetAndMoveTheOtherAfterTheByteCheck) {
  auto* screen = open<DuplicatesScreen>(Route::duplicates);
  ASSERT_NE(screen, nullptr);
  // Opening the screen compares the last scan's big files: one video, nothing twice.
  ASSERT_TRUE(eventually([&] { return model.tools().duplicates.has_value(); }));
  EXPECT_TRUE(model.tools().duplicates->groups.empty());
  EXPECT_FALSE(model.tools().duplicates->folder.has_value());
  screen->search(home / "Downloads");
  EXPECT_TRUE(model.tools().isLoading(ToolResults::Tool::duplicates));
  ToolList* sets = screen->sets();
  ASSERT_TRUE(eventually([&] { return shown(sets, older).isValid(); }));
  const auto ticked = [&] { return sets->rows()->ticked(); };
  EXPECT_EQ(ticked(), std::set<std::string>{newer});  // the oldest stays by default

  QTest::mouseClick(find<QPushButton>(screen, "keepNewest"), Qt::LeftButton);
  EXPECT_EQ(ticked(), std::set<std::string>{older});
  // The copy left unticked cannot be ticked too: one copy always stays.
  EXPECT_FALSE(sets->model()->setData(shown(sets, newer), Qt::Checked, Qt::CheckStateRole));
  EXPECT_EQ(ticked(), std::set<std::string>{older});
  EXPECT_TRUE(find<QLabel>(screen, "tickedCopies")->text().startsWith("1 copy ticked"));

  QTest::mouseClick(find<QPushButton>(screen, "trashCopies"), Qt::LeftButton);
  EXPECT_EQ(confirm(), 1);
  ASSERT_TRUE(eventually([&] { return notice().startsWith("Moved 1 item to the Trash"); })) << notice().toStdString();
  EXPECT_FALSE(pathExists(older));
  EXPECT_TRUE(pathExists(newer));
  // A set of one is no set: it leaves the list until Undo brings the copy back.
  EXPECT_FALSE(shown(sets, newer).isValid());
  model.undo(model.trash().lastOutcome()->batch);
  ASSERT_TRUE(eventually([&] { return shown(sets, older).isValid(); }));
}

TEST_F(ToolWindow, ProjectsFilterStaleOnesAndTickedClutterMoves) {
  auto* screen = open<ProjectsScreen>(Route::projects);
  ASSERT_NE(screen, nullptr);
  ToolList* list = screen->projects();
  ASSERT_TRUE(eventually([&] { return shown(list, project).isValid(); }));
  auto* staleOnly = find<QCheckBox>(screen, "staleOnly");
  staleOnly->click();  // the project was worked on today: not stale
  EXPECT_TRUE(model.projectsStaleOnly());
  EXPECT_FALSE(shown(list, project).isValid());
  EXPECT_TRUE(
      find<QLabel>(screen, "toolState")->text().startsWith("No project has been untouched for longer than 3 months"));
  staleOnly->click();
  ASSERT_TRUE(shown(list, project).isValid());

  const std::string clutter = project + "/node_modules";
  EXPECT_FALSE(find<QPushButton>(screen, "trashClutter")->isEnabled());
  list->setFocus();
  list->setCurrentIndex(shown(list, clutter));
  QTest::keyClick(list, Qt::Key_Space);
  EXPECT_EQ(list->rows()->ticked(), std::set<std::string>{clutter});
  QTest::mouseClick(find<QPushButton>(screen, "trashClutter"), Qt::LeftButton);
  EXPECT_EQ(confirm(), 1);
  ASSERT_TRUE(eventually([&] { return notice().startsWith("Moved 1 item to the Trash"); })) << notice().toStdString();
  EXPECT_FALSE(pathExists(clutter));
  EXPECT_TRUE(pathExists(project + "/package.json"));
  EXPECT_FALSE(shown(list, project).isValid());  // nothing left to clean in it
}

TEST_F(ToolWindow, APartOfTheSystemSaysWhyItStaysAndAnAppOffersItsLeftovers) {
  auto* screen = open<AppsScreen>(Route::apps);
  ASSERT_NE(screen, nullptr);
  ToolList* apps = screen->apps();
  const std::string calculator = home / "Applications/Calculator.app";
  const std::string sketch = home / "Applications/Sketchbook.app";
  ASSERT_TRUE(eventually([&] { return shown(apps, calculator).isValid(); }));

  apps->setCurrentIndex(shown(apps, calculator));
  EXPECT_EQ(find<QLabel>(screen, "appDetail")->text(), "Can't be removed here: Part of macOS.");
  EXPECT_FALSE(find<QPushButton>(screen, "uninstall")->isVisible());

  apps->setCurrentIndex(shown(apps, sketch));
  EXPECT_TRUE(find<QPushButton>(screen, "uninstall")->isVisible());
  ToolListModel* leftovers = screen->leftovers()->rows();
  ASSERT_EQ(leftovers->rows().size(), 2u);
  // The container holds a document: the user ticks it or it stays.
  EXPECT_EQ(leftovers->ticked(), std::set<std::string>{home / "Library/Caches/com.example.sketch"});
  const auto* container = leftovers->rowAt(leftovers->indexOf(home / "Library/Containers/com.example.sketch"));
  ASSERT_NE(container, nullptr);
  EXPECT_EQ(container->cells[3].text, "May hold your documents");

  QTest::mouseClick(find<QPushButton>(screen, "uninstall"), Qt::LeftButton);
  EXPECT_EQ(confirm(), 2);
  ASSERT_TRUE(eventually([&] { return notice().startsWith("Moved 2 items to the Trash"); })) << notice().toStdString();
  EXPECT_FALSE(pathExists(sketch));
  EXPECT_FALSE(shown(apps, sketch).isValid());
}

TEST_F(ToolWindow, DockerShowsWhatItHoldsAndItsCommandsAreCopiedNeverRun) {
  auto* screen = open<DockerScreen>(Route::docker);
  ASSERT_NE(screen, nullptr);
  auto* status = find<QLabel>(screen, "dockerStatus");
  ASSERT_TRUE(eventually([&] { return status->text().toStdString() == DockerProbe::kRunning; }));
  ToolListModel* usage = screen->usage()->rows();
  ASSERT_EQ(usage->rows().size(), 1u);
  EXPECT_EQ(usage->rows()[0].cells[3].text, "2.00 GB");
  EXPECT_EQ(usage->rows()[0].cells[4].text, "1.50 GB");

  CommandRow* prune = nullptr;
  for (auto* row : screen->findChildren<CommandRow*>()) {
    if (row->command() == "docker builder prune") prune = row;
  }
  ASSERT_NE(prune, nullptr);
  QTest::mouseClick(prune->copyButton(), Qt::LeftButton);
  EXPECT_EQ(QGuiApplication::clipboard()->text(), "docker builder prune");
  EXPECT_EQ(notice(), "Copied: docker builder prune");
}

}  // namespace
}  // namespace tallyfin::app
