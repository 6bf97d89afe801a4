#pragma once

// The report's files of 100 MiB or more, to sort, find, show in the file manager
// and move to the Trash.

#include <QWidget>

#include <vector>

class QLabel;
class QLineEdit;
class QPushButton;
class QSortFilterProxyModel;
class QTableView;

namespace tallyfin::app {

class AppModel;
class LargeFilesModel;

class LargeFilesScreen : public QWidget {
  Q_OBJECT

 public:
  explicit LargeFilesScreen(AppModel& model, QWidget* parent = nullptr);

  QTableView* table() const { return table_; }

 private:
  void refresh();
  // The rows of the model chosen in the table.
  std::vector<int> chosenRows() const;
  void confirmTrash();

  AppModel& model_;
  LargeFilesModel* files_;
  QSortFilterProxyModel* sorted_;
  QLabel* summary_;
  QLineEdit* filter_;
  QTableView* table_;
  QPushButton* reveal_;
  QPushButton* showOnMap_;
  QPushButton* trash_;
};

}  // namespace tallyfin::app
