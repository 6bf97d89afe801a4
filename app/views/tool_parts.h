#pragma once

// Pieces the disk tools' screens share: a sorted, filtered list over a
// ToolListModel, its filter box, a command to copy (never run), and the cells
// the lists are made of.

#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QTreeView>
#include <QWidget>
#include <cstdint>
#include <optional>
#include <string>

#include "app/views/tool_list_model.h"

class QLabel;
class QLineEdit;
class QPushButton;

namespace tallyfin::app {

class AppModel;

// A list over `rows`, sortable by every column and filtered by every column's text;
// a ticked row below a top row shows with its top row.
class ToolList : public QTreeView {
  Q_OBJECT

 public:
  ToolList(ToolListModel* rows, const QString& accessibleName, QWidget* parent);

  ToolListModel* rows() const { return rows_; }
  QSortFilterProxyModel* sorted() const { return sorted_; }
  // The row under the cursor, if any.
  const ToolListModel::Row* currentRow() const;
  // Replaces the rows, keeping the cursor on its row where that is still listed.
  void setRows(std::vector<ToolListModel::Row> rows);
  // A box whose text filters this list.
  QLineEdit* makeFilterBox(const QString& placeholder, const QString& accessibleName, QWidget* parent);
  // Keeps the list just tall enough for its rows, up to `most` of them: a short
  // list takes no more room than it needs.
  void fitRows(int most);

 private:
  void applyFit();

  ToolListModel* rows_;
  QSortFilterProxyModel* sorted_;
  int mostRows_ = 0;
};

// "$ docker builder prune" with a Copy button; the notice says what was copied.
class CommandRow : public QWidget {
  Q_OBJECT

 public:
  CommandRow(AppModel& model, const QString& accessibleName, QWidget* parent);

  // Hidden without a command.
  void setCommand(const std::optional<std::string>& command);
  QString command() const;
  QPushButton* copyButton() const { return copy_; }

 private:
  AppModel& model_;
  QLabel* text_;
  QPushButton* copy_;
  std::string command_;
};

// Cells: a size sorting by its bytes, a count, an age sorting by its date, and a
// piece of text that may be missing.
ToolListModel::Cell sizeCell(int64_t bytes);
ToolListModel::Cell countCell(int64_t count);
ToolListModel::Cell ageCell(std::optional<int64_t> secondsSince1970, double now);
ToolListModel::Cell textCell(const std::optional<std::string>& text,
                             const QString& missing = QString::fromUtf8("\u2014"));

// A label for what a screen is doing or lacks: loading, nothing found, what to do next.
QLabel* stateLine(QWidget* parent);

// A screen's main list above its details, the list taking three fifths; neither collapses.
QSplitter* listAboveDetails(QWidget* list, QWidget* details, QWidget* parent);

}  // namespace tallyfin::app
