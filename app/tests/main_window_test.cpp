// The real window, driven offscreen with keys and clicks as a user would.

#include "app/views/main_window.h"

#include <QAccessible>
#include <QAbstractButton>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QTableView>
#include <QTreeView>
#include <QTreeWidget>

#include <gtest/gtest.h>

#include "app/model/app_model.h"
#include "app/tests/app_home.h"
#include "app/tests/find_widget.h"
#include "app/tests/scanned_window.h"
#include "app/views/cleanup_screen.h"
#include "app/views/cleanup_tree_model.h"
#include "app/views/large_files_screen.h"
#include "app/views/trash_confirmation.h"
#include "app/views/tray_icon.h"
#include "kit/pipeline/scan_pipeline.h"

namespace tallyfin::app {
namespace {

using testing::AppHome;
using testing::eventually;
using testing::find;
using testing::ScannedWindow;
using tallyfin::testing::pathExists;

// The window on a scanned home, with two caches to tidy away.
class OpenWindow : public ScannedWindow {
 protected:
  // The confirmation the last click opened, once it shows.
  TrashConfirmation* confirmation() {
    TrashConfirmation* dialog = nullptr;
    eventually([&] { return (dialog = window.findChild<TrashConfirmation*>()) && dialog->isVisible(); });
    return dialog;
  }

  const std::string pip = home / ".cache/pip";
  const std::string npm = home / ".npm/_cacache";
};

TEST_F(OpenWindow, TickTwoItemsMoveThemToTheTrashAndUndoFromTheBanner) {
  QTest::keyClick(&window, Qt::Key_2, Qt::ControlModifier);
  ASSERT_EQ(model.route(), Route::cleanup);
  auto* screen = qobject_cast<CleanupScreen*>(window.screen(Route::cleanup));
  ASSERT_NE(screen, nullptr);
  QTreeView* tree = screen->tree();
  auto* sorted = qobject_cast<QAbstractProxyModel*>(tree->model());
  for (const auto& path : {pip, npm}) {
    const QModelIndex row = sorted->mapFromSource(screen->items()->indexOf(path));
    ASSERT_TRUE(row.isValid()) << path;
    tree->setFocus();
    tree->setCurrentIndex(row);
    QTest::keyClick(tree, Qt::Key_Space);  // ticks the row's box
  }
  EXPECT_EQ(model.selection(), (std::set<std::string>{npm, pip}));
  EXPECT_TRUE(find<QLabel>(screen, "ticked")->text().startsWith("2 items ticked"));

  QTest::mouseClick(find<QPushButton>(screen, "moveToTrash"), Qt::LeftButton);
  TrashConfirmation* dialog = confirmation();
  ASSERT_NE(dialog, nullptr);
  EXPECT_EQ(dialog->findChild<QTreeWidget*>()->topLevelItemCount(), 2);
  EXPECT_TRUE(pathExists(pip));  // nothing moves before the user agrees
  QTest::mouseClick(find<QPushButton>(dialog, "confirmMove"), Qt::LeftButton);

  ASSERT_TRUE(eventually([&] { return noticeText().startsWith("Moved 2 items to the Trash"); })) << noticeText().toStdString();
  QWidget* banner = find<QWidget>(&window, "noticeBanner");
  EXPECT_TRUE(banner->isVisible());
  EXPECT_FALSE(pathExists(pip));
  EXPECT_FALSE(pathExists(npm));
  EXPECT_TRUE(pathExists(home.trashFiles() + "/pip"));
  EXPECT_FALSE(screen->items()->indexOf(pip).isValid());
  EXPECT_EQ(find<QTableView>(screen, {})->model()->rowCount(), 1);  // the batch, offered for Undo

  QPushButton* undo = find<QPushButton>(banner, "noticeUndo");
  ASSERT_TRUE(undo->isVisible());
  QTest::mouseClick(undo, Qt::LeftButton);
  ASSERT_TRUE(eventually([&] { return noticeText() == "Put back 2 items."; })) << noticeText().toStdString();
  EXPECT_TRUE(pathExists(pip + "/http/blob"));
  EXPECT_TRUE(pathExists(npm + "/content/blob"));
  EXPECT_TRUE(screen->items()->indexOf(pip).isValid());
  EXPECT_FALSE(undo->isVisible());
}

TEST_F(OpenWindow, CategoriesKeepTheirFixedOrderWhicheverWayTheListIsSorted) {
  model.setRoute(Route::cleanup);
  auto* screen = qobject_cast<CleanupScreen*>(window.screen(Route::cleanup));
  QTreeView* tree = screen->tree();
  const auto categories = [&] {
    std::vector<QString> shown;
    for (int row = 0; row < tree->model()->rowCount(); ++row) shown.push_back(tree->model()->index(row, 0).data().toString());
    return shown;
  };
  // The home holds package caches (npm), Python (pip) and AI models (Hugging Face), in that fixed order.
  ASSERT_EQ(categories().size(), 3u);
  EXPECT_TRUE(categories()[0].startsWith("Python"));
  EXPECT_TRUE(categories()[1].startsWith("AI models"));
  EXPECT_TRUE(categories()[2].startsWith("Package manager caches"));
  for (const auto order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
    for (const int column : {int(CleanupTreeModel::size), int(CleanupTreeModel::title)}) {
      tree->sortByColumn(column, order);
      EXPECT_TRUE(categories()[0].startsWith("Python"));
      EXPECT_TRUE(categories()[2].startsWith("Package manager caches"));
    }
  }
  // The filters narrow the groups: Review only leaves the model.
  auto* safety = find<QComboBox>(screen, "safetyFilter");
  safety->setCurrentIndex(2);
  EXPECT_EQ(model.cleanupSafety(), Safety::review);
  ASSERT_EQ(categories().size(), 1u);
  EXPECT_TRUE(categories()[0].startsWith("AI models (1)"));
}

TEST_F(OpenWindow, ALargeFileMovesToTheTrashAfterTheConfirmation) {
  QTest::keyClick(&window, Qt::Key_4, Qt::ControlModifier);
  ASSERT_EQ(model.route(), Route::largeFiles);
  auto* screen = qobject_cast<LargeFilesScreen*>(window.screen(Route::largeFiles));
  QTableView* table = screen->table();
  ASSERT_EQ(table->model()->rowCount(), 1);
  EXPECT_EQ(table->model()->index(0, 0).data().toString(), "holiday.mkv");
  EXPECT_EQ(table->model()->index(0, 2).data().toString(), "Videos");
  table->selectRow(0);
  QTest::mouseClick(find<QPushButton>(screen, "trashFiles"), Qt::LeftButton);
  TrashConfirmation* dialog = confirmation();
  ASSERT_NE(dialog, nullptr);
  QTest::mouseClick(find<QPushButton>(dialog, "confirmMove"), Qt::LeftButton);
  ASSERT_TRUE(eventually([&] { return noticeText().startsWith("Moved 1 item to the Trash"); }));
  EXPECT_FALSE(pathExists(home / "Videos/holiday.mkv"));
  EXPECT_TRUE(pathExists(home.trashFiles() + "/holiday.mkv"));
  EXPECT_EQ(table->model()->rowCount(), 0);
}

TEST_F(OpenWindow, CancellingTheConfirmationMovesNothing) {
  model.setSelected({pip}, true);
  model.setRoute(Route::cleanup);
  QTest::mouseClick(find<QPushButton>(window.screen(Route::cleanup), "moveToTrash"), Qt::LeftButton);
  TrashConfirmation* dialog = confirmation();
  ASSERT_NE(dialog, nullptr);
  QTest::keyClick(dialog, Qt::Key_Escape);
  QTest::qWait(300);
  EXPECT_TRUE(pathExists(pip));
  EXPECT_FALSE(model.trash().lastOutcome().has_value());
  EXPECT_EQ(model.selection(), std::set<std::string>{pip});
}

TEST_F(OpenWindow, TheKeyboardReachesTheScreensAndScans) {
  for (int number = 1; number <= 9; ++number) {
    QTest::keyClick(&window, static_cast<Qt::Key>(Qt::Key_0 + number), Qt::ControlModifier);
    EXPECT_EQ(model.route(), kRoutes[static_cast<size_t>(number - 1)]);
    EXPECT_EQ(window.sidebar()->currentRow(), number - 1);
  }
  // Past the ninth, the sidebar takes arrow keys.
  window.sidebar()->setFocus();
  QTest::keyClick(window.sidebar(), Qt::Key_Down);
  EXPECT_EQ(model.route(), Route::docker);
  const auto* status = window.screen(Route::docker)->findChild<QLabel*>("dockerStatus");
  ASSERT_NE(status, nullptr);
  EXPECT_TRUE(eventually([&] { return status->text().toStdString() == DockerProbe::kNotInstalled; }));

  QTest::keyClick(&window, Qt::Key_R, Qt::ControlModifier);
  EXPECT_TRUE(model.scanner().isScanning());
  QTest::keyClick(&window, Qt::Key_Escape);
  ASSERT_TRUE(eventually([&] { return !model.scanner().isScanning(); }));
}

TEST_F(OpenWindow, TheBusyMessageShowsWhileAnotherProcessScans) {
  QProcess holder;
  holder.start("flock", {"--no-fork", QString::fromStdString(home.store().url(Store::File::lock)), "-c",
                         "echo held; exec sleep 60"});
  ASSERT_TRUE(holder.waitForReadyRead(10'000));
  QWidget* overview = window.screen(Route::overview);
  QTest::mouseClick(find<QPushButton>(overview, "scanNow"), Qt::LeftButton);
  auto* error = find<QLabel>(overview, "scanError");
  ASSERT_TRUE(eventually([&] { return error->isVisible(); }));
  EXPECT_EQ(error->text().toStdString(), std::string(kAlreadyScanningMessage));
  holder.kill();
  holder.waitForFinished();
}

TEST_F(OpenWindow, EveryControlOfTheBuiltScreensHasAnAccessibleName) {
  for (const Route route : {Route::overview, Route::cleanup, Route::largeFiles, Route::history, Route::aiModels,
                            Route::projects, Route::duplicates, Route::apps, Route::docker, Route::systemData,
                            Route::agents, Route::help, Route::whatsNew, Route::profile}) {
    model.setRoute(route);
  }
  std::vector<QWidget*> controls;
  for (QWidget* widget : window.findChildren<QWidget*>()) {
    // Headers, a combo box's own pop-up list and Qt's private helpers belong to their control.
    // A table's corner button is switched off.
    if (qobject_cast<QHeaderView*>(widget) || widget->window() != &window || widget->objectName().startsWith("qt_") ||
        (widget->inherits("QTableCornerButton") && !widget->isEnabled())) {
      continue;
    }
    if (qobject_cast<QAbstractButton*>(widget) || qobject_cast<QComboBox*>(widget) ||
        qobject_cast<QLineEdit*>(widget) || qobject_cast<QAbstractItemView*>(widget)) {
      controls.push_back(widget);
    }
  }
  EXPECT_GT(controls.size(), 20u);
  for (QWidget* control : controls) {
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(control);
    ASSERT_NE(accessible, nullptr);
    EXPECT_FALSE(accessible->text(QAccessible::Name).isEmpty())
        << control->metaObject()->className() << " " << control->objectName().toStdString();
  }
}

TEST_F(OpenWindow, WithoutATrayHostClosingTheWindowEndsTheApp) {
  const TrayIcon tray(model, window);
  ASSERT_TRUE(model.showMenuBar());
  EXPECT_FALSE(tray.isShown());  // offscreen there is no tray
  EXPECT_TRUE(tray.toolTip().endsWith(" free")) << tray.toolTip().toStdString();
  EXPECT_TRUE(window.close());
}

TEST_F(OpenWindow, SizesAreWrittenWithTheirUnits) {
  const auto* line = find<QLabel>(window.screen(Route::overview), "diskLine");
  EXPECT_TRUE(QRegularExpression(R"(^[\d.]+ (B|KB|MB|GB|TB) used · [\d.]+ (B|KB|MB|GB|TB) free · )")
                  .match(line->text())
                  .hasMatch())
      << line->text().toStdString();
  model.setRoute(Route::cleanup);
  auto* screen = qobject_cast<CleanupScreen*>(window.screen(Route::cleanup));
  const QModelIndex row = screen->items()->indexOf(pip);
  const QString size = screen->items()->index(row.row(), CleanupTreeModel::size, row.parent()).data().toString();
  EXPECT_TRUE(QRegularExpression(R"(^1[23]\.\d MB$)").match(size).hasMatch()) << size.toStdString();
}

}  // namespace
}  // namespace tallyfin::app
