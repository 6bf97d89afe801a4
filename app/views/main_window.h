#pragma once

// The main window: the sidebar of the fifteen screens, the notice banner, the
// screen of the current route (each made the first time it is shown), the scan's
// progress in the status bar, and the menus that reach every action by keyboard.

#include <QMainWindow>

#include <map>

#include "app/model/route.h"
#include "app/views/screen_registry.h"

class QAction;
class QLabel;
class QListWidget;
class QProgressBar;
class QStackedWidget;

namespace tallyfin::app {

class AppModel;

class MainWindow : public QMainWindow {
  Q_OBJECT

 public:
  MainWindow(AppModel& model, ScreenRegistry screens, QWidget* parent = nullptr);

  // The route's screen, made now if it was not shown yet.
  QWidget* screen(Route route);
  QListWidget* sidebar() const { return sidebar_; }

  // Whether closing the window leaves the app running in the tray.
  void setStaysInTray(bool stays) { staysInTray_ = stays; }
  // Shows the window in front of the others, also when it was hidden or minimized.
  void bringToFront();

 protected:
  void closeEvent(QCloseEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  void showRoute(Route route);
  void buildMenus();
  void showScanStatus();
  // Marks the sidebar's What's New until its page is seen.
  void markWhatsNew();

  AppModel& model_;
  ScreenRegistry screens_;
  std::map<Route, QWidget*> made_;
  QListWidget* sidebar_;
  QStackedWidget* stack_;
  QLabel* scanStatus_;
  QProgressBar* scanBar_;
  QAction* scan_ = nullptr;
  QAction* cancel_ = nullptr;
  bool staysInTray_ = false;
};

}  // namespace tallyfin::app
