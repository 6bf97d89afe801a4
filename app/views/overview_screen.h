#pragma once

// The first screen: how full the disk is, what fills it, what can go, the
// biggest places, the last scan, and the scan button with its progress.

#include <QWidget>

class QGridLayout;
class QLabel;
class QPushButton;

namespace tallyfin::app {

class AppModel;
class SegmentBar;

class OverviewScreen : public QWidget {
  Q_OBJECT

 public:
  explicit OverviewScreen(AppModel& model, QWidget* parent = nullptr);

 private:
  void refresh();
  void showDisk();
  void showStorage();
  void showCleanup();
  void showHotspots();

  AppModel& model_;
  QWidget* report_;  // everything that needs a report
  QLabel* noReport_;
  QLabel* diskHeading_;
  SegmentBar* diskBar_;
  QLabel* diskLine_;
  QLabel* health_;
  SegmentBar* storageBar_;
  QGridLayout* legend_;
  QLabel* cleanupLine_;
  QPushButton* review_;
  QGridLayout* hotspots_;
  QLabel* lastScan_;
};

}  // namespace tallyfin::app
