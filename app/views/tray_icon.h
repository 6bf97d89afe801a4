#pragma once

// The app's place in the desktop's tray: free space in the tooltip (and on the
// icon itself when "menuBar.showFree" is on), and a menu to open the window, scan,
// review the cleanup and quit. Where the desktop has no tray, the window is the way in.

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

#include <cstdint>
#include <optional>

namespace tallyfin::app {

class AppModel;
class MainWindow;

class TrayIcon : public QObject {
  Q_OBJECT

 public:
  TrayIcon(AppModel& model, MainWindow& window, QObject* parent = nullptr);

  // Whether the icon is in a tray now: the setting asks for it and the desktop has one.
  bool isShown() const;
  QString toolTip() const { return tray_.toolTip(); }

  // "79G", "1.2T", "850M": free space short enough for a tray icon.
  static QString compactBytes(int64_t bytes);

 private:
  void refresh();
  QIcon icon(std::optional<int64_t> freeBytes) const;

  AppModel& model_;
  MainWindow& window_;
  QSystemTrayIcon tray_;
  QMenu menu_;
};

}  // namespace tallyfin::app
