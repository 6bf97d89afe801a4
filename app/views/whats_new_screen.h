#pragma once

// The release notes of this version. Opening the page marks them read, which
// takes the mark off the sidebar's entry.

#include <QWidget>

class QTextBrowser;

namespace tallyfin::app {

class AppModel;

class WhatsNewScreen : public QWidget {
  Q_OBJECT

 public:
  explicit WhatsNewScreen(AppModel& model, QWidget* parent = nullptr);

  QTextBrowser* notes() const { return notes_; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  AppModel& model_;
  QTextBrowser* notes_;
};

}  // namespace tallyfin::app
