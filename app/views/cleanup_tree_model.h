#pragma once

// The cleanup list as a tree: the 13 categories in their fixed order, each with
// the suggestions of that category that pass the screen's filters. Ticking an item
// or a whole category changes the model's selection.

#include <QAbstractItemModel>
#include <QSortFilterProxyModel>

#include <vector>

#include "kit/cleanup/cleanup_item.h"

namespace tallyfin::app {

class AppModel;

class CleanupTreeModel : public QAbstractItemModel {
  Q_OBJECT

 public:
  enum Column { title, size, safety, location, modified, kColumns };
  // Numbers to sort by: bytes, seconds, the safety's order.
  static constexpr int kSortRole = Qt::UserRole;

  explicit CleanupTreeModel(AppModel& model, QObject* parent = nullptr);

  // The suggestion a row shows; none for a category row.
  const CleanupItem* itemAt(const QModelIndex& index) const;
  // The row of the suggestion at `path`, if listed.
  QModelIndex indexOf(const std::string& path) const;

  QModelIndex index(int row, int column, const QModelIndex& parent = {}) const override;
  QModelIndex parent(const QModelIndex& child) const override;
  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

 private:
  struct Group {
    CleanupCategory category;
    std::vector<size_t> items;  // into the model's cleanup list
    int64_t total = 0;
  };
  void rebuild();
  void selectionChanged();
  // The paths of a category's items that can be ticked.
  std::vector<std::string> tickable(const Group& group) const;
  QVariant groupData(const Group& group, int column, int role) const;
  QVariant suggestionData(const CleanupItem& item, int column, int role) const;

  AppModel& model_;
  std::vector<Group> groups_;
};

// Sorts the suggestions within each category by the chosen column; the categories
// themselves keep their fixed order whichever way the list is sorted.
class CleanupSortModel : public QSortFilterProxyModel {
  Q_OBJECT

 public:
  using QSortFilterProxyModel::QSortFilterProxyModel;

 protected:
  bool lessThan(const QModelIndex& left, const QModelIndex& right) const override;
};

}  // namespace tallyfin::app
