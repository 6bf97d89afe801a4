#pragma once

// The help articles: a search box, the articles that match it, and the chosen one
// drawn from its Markdown. The article shown is the model's `helpTopic`, so any
// screen can open help at the right place.

#include <QWidget>

#include "app/model/help_library.h"

class QLabel;
class QLineEdit;
class QListWidget;
class QTextBrowser;

namespace tallyfin::app {

class AppModel;

class HelpScreen : public QWidget {
  Q_OBJECT

 public:
  explicit HelpScreen(AppModel& model, QWidget* parent = nullptr);

  QLineEdit* search() const { return search_; }
  QListWidget* topics() const { return topics_; }
  QTextBrowser* article() const { return article_; }

 private:
  void listMatches();
  void showTopic();

  AppModel& model_;
  HelpLibrary library_;
  QLineEdit* search_;
  QListWidget* topics_;
  QLabel* empty_;
  QTextBrowser* article_;
};

}  // namespace tallyfin::app
