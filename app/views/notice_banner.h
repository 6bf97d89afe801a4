#pragma once

// The banner above every screen: what the last action did (what moved, what was
// refused and why), with Undo while the moved batch can still be put back.

#include <QFrame>

class QLabel;
class QPushButton;

namespace tallyfin::app {

class AppModel;

class NoticeBanner : public QFrame {
  Q_OBJECT

 public:
  explicit NoticeBanner(AppModel& model, QWidget* parent = nullptr);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void refresh();

  AppModel& model_;
  QLabel* text_;
  QPushButton* undo_;
  QPushButton* dismiss_;
};

}  // namespace tallyfin::app
