#pragma once

// The keep list: what the user chose never to have suggested again, with what the
// last scan knew of each, and Remove to have it suggested again.

#include <QWidget>

class QLabel;
class QLineEdit;
class QPushButton;

namespace tallyfin::app {

class AppModel;
class ToolList;
class ToolListModel;

class KeepListPanel : public QWidget {
  Q_OBJECT

 public:
  explicit KeepListPanel(AppModel& model, QWidget* parent = nullptr);

  ToolList* kept() const { return kept_; }
  QPushButton* removeButton() const { return remove_; }

 private:
  void refresh();
  void removeChosen();

  AppModel& model_;
  QLabel* state_;
  ToolListModel* rows_;
  ToolList* kept_;
  QLineEdit* filter_;
  QPushButton* remove_;
};

}  // namespace tallyfin::app
