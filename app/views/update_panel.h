#pragma once

// Updates on the profile screen: the daily check's switch, Check for Updates, and
// a verified newer release's notes with Download (progress and Cancel), Skip This
// Version and Install. A distribution's build says where its updates come from.

#include <QWidget>

class QCheckBox;
class QLabel;
class QProgressBar;
class QPushButton;
class QTextBrowser;

namespace tallyfin::app {

class AppModel;
class CommandRow;

class UpdatePanel : public QWidget {
  Q_OBJECT

 public:
  explicit UpdatePanel(AppModel& model, QWidget* parent = nullptr);

  QCheckBox* automatic() const { return automatic_; }
  QPushButton* checkButton() const { return check_; }
  QLabel* status() const { return status_; }
  QTextBrowser* notes() const { return notes_; }
  QPushButton* downloadButton() const { return download_; }
  QPushButton* skipButton() const { return skip_; }

 private:
  void refresh();

  AppModel& model_;
  QCheckBox* automatic_;
  QPushButton* check_;
  QLabel* status_;
  QLabel* releaseTitle_;
  QTextBrowser* notes_;
  QProgressBar* progress_;
  QPushButton* download_;
  QPushButton* cancel_;
  QPushButton* skip_;
  QPushButton* install_;
  CommandRow* installCommand_;
};

}  // namespace tallyfin::app
