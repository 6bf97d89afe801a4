// The disk map screen driven offscreen as a user would: keys, the mouse, the
// item's menu and the layouts, over a home the command line scanned.

#include "app/views/map_screen.h"

#include <QContextMenuEvent>
#include <QLabel>
#include <QMenu>
#include <QMouseEvent>
#include <QPointer>
#include <QPushButton>

#include <gtest/gtest.h>

#include "app/model/app_model.h"
#include "app/tests/app_home.h"
#include "app/views/map_canvas.h"
#include "app/views/text.h"
#include "app/views/trash_confirmation.h"

namespace tallyfin::app {
namespace {

using testing::AppHome;
using testing::eventually;
using tallyfin::testing::allocateFile;
using tallyfin::testing::pathExists;

class MapScreenTest : public ::testing::Test {
 protected:
  void SetUp() override {
    allocateFile(home / "Music/album/side-a.flac", 12 << 20);
    allocateFile(home / "Music/album/side-b.flac", 11 << 20);
    home.scanWithCommandLine();
    screen.resize(1100, 760);
    screen.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&screen));
    model.scanner().load();
    ASSERT_TRUE(settled());
    canvas()->setFocus();
  }

  MapCanvas* canvas() { return screen.canvas(); }
  const MapPicture& picture() { return *canvas()->picture(); }
  // The canvas shows the model's latest picture, and no animation runs.
  bool settled() {
    return eventually([&] {
      return canvas()->picture() && canvas()->picture() == model.map().mapLayout() && !model.map().isBuilding() &&
             !canvas()->isAnimating();
    });
  }
  std::string cursorPath() { return picture().path(*canvas()->cursor()); }
  QString item() { return screen.itemLine()->text(); }
  // The item's menu, opened from the keyboard on the cursor.
  QMenu* menu() {
    QContextMenuEvent event(QContextMenuEvent::Keyboard, QPoint(), QPoint());
    QApplication::sendEvent(canvas(), &event);
    QMenu* found = nullptr;
    eventually([&] {
      for (QMenu* open : screen.findChildren<QMenu*>()) {
        if (open->isVisible()) found = open;
      }
      return found != nullptr;
    });
    return found;
  }
  QAction* action(QMenu* menu, const QString& text) {
    for (QAction* a : menu->actions()) {
      if (a->text() == text) return a;
    }
    ADD_FAILURE() << "no action " << text.toStdString();
    return nullptr;
  }
  void moveCursorTo(const std::string& path) {
    for (int step = 0; step < 20 && cursorPath() != path; ++step) QTest::keyClick(canvas(), Qt::Key_Right);
    ASSERT_EQ(cursorPath(), path);
  }

  AppHome home;
  AppModel model{home.environment()};
  MapScreen screen{model};
};

TEST_F(MapScreenTest, ArrowsMoveBetweenSiblingsEnterZoomsInBackspaceZoomsOut) {
  // The cursor starts on the largest item of the folder the map opened at.
  ASSERT_TRUE(canvas()->cursor().has_value());
  EXPECT_EQ(cursorPath(), home / "Videos");
  EXPECT_TRUE(item().startsWith("~/Videos \u00b7 ")) << item().toStdString();

  const size_t first = *canvas()->cursor();
  QTest::keyClick(canvas(), Qt::Key_Right);
  const size_t second = *canvas()->cursor();
  EXPECT_NE(second, first);
  EXPECT_EQ(picture().entry(second).parent, picture().entry(first).parent);  // a sibling, not a child
  EXPECT_LE(picture().entry(second).size, picture().entry(first).size);
  QTest::keyClick(canvas(), Qt::Key_Left);
  EXPECT_EQ(canvas()->cursor(), first);
  QTest::keyClick(canvas(), Qt::Key_Up);  // nothing before the first: it stays
  EXPECT_EQ(canvas()->cursor(), first);

  moveCursorTo(home / "Music");
  QTest::keyClick(canvas(), Qt::Key_Return);
  ASSERT_TRUE(settled());
  EXPECT_EQ(picture().rootPath(), home / "Music");
  EXPECT_EQ(cursorPath(), home / "Music/album");
  auto* zoomOut = screen.findChild<QPushButton*>("zoomOut");
  EXPECT_TRUE(zoomOut->isEnabled());

  // Into the album; Enter on a file there does nothing; Backspace comes back with
  // the cursor on the folder left.
  QTest::keyClick(canvas(), Qt::Key_Return);
  ASSERT_TRUE(settled());
  EXPECT_EQ(picture().rootPath(), home / "Music/album");
  QTest::keyClick(canvas(), Qt::Key_Return);
  ASSERT_TRUE(settled());
  EXPECT_EQ(picture().rootPath(), home / "Music/album");
  QTest::keyClick(canvas(), Qt::Key_Backspace);
  ASSERT_TRUE(settled());
  QTest::keyClick(canvas(), Qt::Key_Backspace);
  ASSERT_TRUE(settled());
  EXPECT_EQ(picture().rootPath(), home.path());
  EXPECT_EQ(cursorPath(), home / "Music");
  EXPECT_FALSE(zoomOut->isEnabled());
}

TEST_F(MapScreenTest, TheMouseOverAnItemNamesItAndAClickZoomsIntoAFolder) {
  for (const char* kind : {"sunburst", "treemap", "city"}) {
    QTest::mouseClick(screen.findChild<QPushButton*>(kind), Qt::LeftButton);
    ASSERT_TRUE(settled()) << kind;
    const auto film = picture().locate(home / "Videos/holiday.mkv");
    ASSERT_TRUE(film.has_value()) << kind;
    ASSERT_EQ(picture().path(*film), home / "Videos/holiday.mkv") << kind;
    const QPointF over = canvas()->pointOf(*film);
    QMouseEvent move(QEvent::MouseMove, over, canvas()->mapToGlobal(over), Qt::NoButton, Qt::NoButton, Qt::NoModifier);
    QApplication::sendEvent(canvas(), &move);
    ASSERT_TRUE(eventually([&] { return canvas()->hovered() == film; })) << kind;
    EXPECT_TRUE(item().startsWith("~/Videos/holiday.mkv \u00b7 " + bytesText(picture().entry(*film).size)))
        << kind << ": " << item().toStdString();

    // Aimed at Music, the click lands on it or on a folder standing on it (the city's album).
    const auto music = picture().locate(home / "Music");
    ASSERT_TRUE(music.has_value());
    const QPoint aim = canvas()->pointOf(*music).toPoint();
    const auto target = picture().hit(MapFrame(picture(), QRectF(canvas()->rect())).toLayout(aim));
    ASSERT_TRUE(target.has_value()) << kind;
    const std::string folder = picture().path(*target);
    ASSERT_TRUE(folder == home / "Music" || folder == home / "Music/album") << kind << " " << folder;
    QTest::mouseClick(canvas(), Qt::LeftButton, {}, aim);
    ASSERT_TRUE(settled()) << kind;
    EXPECT_EQ(picture().rootPath(), folder) << kind;
    EXPECT_EQ(model.map().trail().at(1), home / "Music");
    model.map().zoomTo(0);
    ASSERT_TRUE(settled());
  }
}

TEST_F(MapScreenTest, TheItemsMenuKeepsAFolderAndMovesOneToTheTrashAfterAskingWithTheSameRefusals) {
  moveCursorTo(home / "Music");
  QMenu* first = menu();
  ASSERT_NE(first, nullptr);
  action(first, "Keep")->trigger();
  ASSERT_TRUE(eventually([&] { return model.keep().contains(home / "Music"); }));
  first->close();

  // Music itself is one of the home's own folders: refused with the reason.
  QPointer<QMenu> second = menu();
  ASSERT_NE(second, nullptr);
  action(second, "Move to Trash\u2026")->trigger();
  TrashConfirmation* dialog = nullptr;
  const auto confirm = [&] {
    dialog = nullptr;
    EXPECT_TRUE(eventually([&] {
      for (auto* open : screen.findChildren<TrashConfirmation*>()) {
        if (open->isVisible()) dialog = open;
      }
      return dialog != nullptr;
    }));
    if (dialog) QTest::mouseClick(dialog->findChild<QPushButton*>("confirmMove"), Qt::LeftButton);
  };
  confirm();
  ASSERT_TRUE(eventually([&] { return model.notice() && !model.noticeIsSuccess(); }));
  EXPECT_NE(model.notice()->find("~/Music: Protected folder"), std::string::npos) << *model.notice();
  EXPECT_TRUE(pathExists(home / "Music"));
  if (second) second->close();  // gone already if the dialog took it down

  // The album inside it goes, after the user agrees.
  QTest::keyClick(canvas(), Qt::Key_Return);
  ASSERT_TRUE(settled());
  ASSERT_EQ(cursorPath(), home / "Music/album");
  QMenu* third = menu();
  ASSERT_NE(third, nullptr);
  action(third, "Move to Trash\u2026")->trigger();
  EXPECT_TRUE(pathExists(home / "Music/album"));
  confirm();
  ASSERT_TRUE(eventually([&] { return !pathExists(home / "Music/album"); })) << model.notice().value_or("");
  EXPECT_TRUE(pathExists(home.trashFiles() + "/album/side-a.flac"));
  ASSERT_TRUE(eventually([&] { return model.trash().removed().contains(home / "Music/album"); }));
  EXPECT_TRUE(model.noticeIsSuccess());
}

TEST_F(MapScreenTest, WhatThePaintShowsIsWhatTheMouseHits) {
  const MapColorTable colors(MapColors::fileKind, canvas()->palette(), picture().reportDate());
  for (const char* kind : {"sunburst", "treemap", "city"}) {
    QTest::mouseClick(screen.findChild<QPushButton*>(kind), Qt::LeftButton);
    ASSERT_TRUE(settled()) << kind;
    canvas()->setCursorAt(0);  // the cursor's outline stays off the items looked at
    const QImage shot = canvas()->grab().toImage();
    for (const char* path : {"Videos/holiday.mkv", "Music/album/side-a.flac"}) {
      const auto index = picture().locate(home / path);
      ASSERT_TRUE(index.has_value()) << path;
      const QPoint at = canvas()->pointOf(*index).toPoint();
      EXPECT_EQ(picture().hit(MapFrame(picture(), QRectF(canvas()->rect())).toLayout(at)), index) << kind << path;
      EXPECT_EQ(shot.pixelColor(at * shot.devicePixelRatio()).rgb(), colors.of(picture().entry(*index)).fill.rgb())
          << kind << " " << path;
    }
  }
}

}  // namespace
}  // namespace tallyfin::app
