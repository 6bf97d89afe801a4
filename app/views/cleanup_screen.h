#pragma once

// The suggestions of the report, grouped by category, to tick and move to the
// Trash, keep for good, or clean with the tool's own command; below them the
// batches moved lately, to put back.

#include <QWidget>

#include "kit/cleanup/cleanup_item.h"

class QComboBox;
class QLabel;
class QPushButton;
class QTableView;
class QTreeView;

namespace tallyfin::app {

class AppModel;
class BatchesModel;
class CleanupSortModel;
class CleanupTreeModel;

class CleanupScreen : public QWidget {
  Q_OBJECT

 public:
  explicit CleanupScreen(AppModel& model, QWidget* parent = nullptr);

  QTreeView* tree() const { return tree_; }
  CleanupTreeModel* items() const { return items_; }

 private:
  void refresh();
  void showSelection();
  void showCurrent();
  void applyFilters();
  void confirmTrash();
  // The suggestion under the tree's cursor.
  const CleanupItem* current() const;

  AppModel& model_;
  CleanupTreeModel* items_;
  CleanupSortModel* sorted_;
  QLabel* summary_;
  QLabel* noReport_;
  QComboBox* safety_;
  QComboBox* category_;
  QTreeView* tree_;
  QLabel* currentTitle_;
  QLabel* currentDetail_;
  QLabel* command_;
  QPushButton* copy_;
  QPushButton* keep_;
  QPushButton* reveal_;
  QPushButton* showOnMap_;
  QLabel* selected_;
  QPushButton* trash_;
  BatchesModel* batches_;
  QTableView* batchList_;
  QPushButton* undo_;
};

}  // namespace tallyfin::app
