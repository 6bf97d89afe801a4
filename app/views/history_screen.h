#pragma once

// How the disk changed: used space per scan, the changes since the previous scan,
// the folders that keep growing, and when the disk would be full at this pace.

#include <QWidget>

class QLabel;
class QTreeWidget;

namespace tallyfin::app {

class AppModel;
class HistoryChart;

class HistoryScreen : public QWidget {
  Q_OBJECT

 public:
  explicit HistoryScreen(AppModel& model, QWidget* parent = nullptr);

 private:
  void refresh();
  void showTrend();
  void showChanges();
  void showGrowing();

  AppModel& model_;
  HistoryChart* chart_;
  QLabel* growth_;
  QLabel* forecast_;
  QLabel* changesLine_;
  QTreeWidget* changes_;
  QLabel* growingLine_;
  QTreeWidget* growing_;
};

}  // namespace tallyfin::app
