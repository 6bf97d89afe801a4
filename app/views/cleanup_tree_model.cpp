#include "app/views/cleanup_tree_model.h"

#include <QFont>

#include "app/model/app_model.h"
#include "app/views/text.h"
#include "kit/base/clock.h"

namespace tallyfin::app {
namespace {

constexpr quintptr kGroupRow = 0;

}  // namespace

CleanupTreeModel::CleanupTreeModel(AppModel& model, QObject* parent) : QAbstractItemModel(parent), model_(model) {
  connect(&model_, &AppModel::cleanupChanged, this, &CleanupTreeModel::rebuild);
  connect(&model_, &AppModel::filterChanged, this, &CleanupTreeModel::rebuild);
  connect(&model_, &AppModel::selectionChanged, this, &CleanupTreeModel::selectionChanged);
  rebuild();
}

void CleanupTreeModel::rebuild() {
  beginResetModel();
  groups_.clear();
  std::vector<Group> all(kCleanupCategoryCount);
  for (size_t c = 0; c < kCleanupCategoryCount; ++c) all[c].category = static_cast<CleanupCategory>(c);
  const auto& items = model_.cleanup();
  const auto safety = model_.cleanupSafety();
  const auto category = model_.cleanupCategory();
  for (size_t i = 0; i < items.size(); ++i) {
    const CleanupItem& item = items[i];
    if ((safety && item.safety != *safety) || (category && item.category != *category)) continue;
    Group& group = all[static_cast<size_t>(item.category)];
    group.items.push_back(i);
    group.total += item.size;
  }
  for (auto& group : all) {
    if (!group.items.empty()) groups_.push_back(std::move(group));
  }
  endResetModel();
}

void CleanupTreeModel::selectionChanged() {
  for (int g = 0; g < static_cast<int>(groups_.size()); ++g) {
    const QModelIndex group = index(g, title);
    emit dataChanged(group, group, {Qt::CheckStateRole});
    const int last = static_cast<int>(groups_[static_cast<size_t>(g)].items.size()) - 1;
    emit dataChanged(index(0, title, group), index(last, title, group), {Qt::CheckStateRole});
  }
}

const CleanupItem* CleanupTreeModel::itemAt(const QModelIndex& index) const {
  if (!index.isValid() || index.internalId() == kGroupRow) return nullptr;
  const Group& group = groups_[index.internalId() - 1];
  return &model_.cleanup()[group.items[static_cast<size_t>(index.row())]];
}

QModelIndex CleanupTreeModel::indexOf(const std::string& path) const {
  const auto& items = model_.cleanup();
  for (size_t g = 0; g < groups_.size(); ++g) {
    for (size_t r = 0; r < groups_[g].items.size(); ++r) {
      if (items[groups_[g].items[r]].path == path) return createIndex(static_cast<int>(r), title, g + 1);
    }
  }
  return {};
}

QModelIndex CleanupTreeModel::index(int row, int column, const QModelIndex& parent) const {
  if (row < 0 || column < 0 || column >= kColumns) return {};
  if (!parent.isValid()) {
    return row < static_cast<int>(groups_.size()) ? createIndex(row, column, kGroupRow) : QModelIndex();
  }
  if (parent.internalId() != kGroupRow) return {};
  const auto group = static_cast<size_t>(parent.row());
  if (row >= static_cast<int>(groups_[group].items.size())) return {};
  return createIndex(row, column, group + 1);
}

QModelIndex CleanupTreeModel::parent(const QModelIndex& child) const {
  if (!child.isValid() || child.internalId() == kGroupRow) return {};
  return createIndex(static_cast<int>(child.internalId() - 1), title, kGroupRow);
}

int CleanupTreeModel::rowCount(const QModelIndex& parent) const {
  if (!parent.isValid()) return static_cast<int>(groups_.size());
  if (parent.internalId() != kGroupRow || parent.column() != title) return 0;
  return static_cast<int>(groups_[static_cast<size_t>(parent.row())].items.size());
}

int CleanupTreeModel::columnCount(const QModelIndex&) const { return Column::kColumns; }

std::vector<std::string> CleanupTreeModel::tickable(const Group& group) const {
  std::vector<std::string> paths;
  for (const size_t i : group.items) {
    const CleanupItem& item = model_.cleanup()[i];
    if (item.trashable) paths.push_back(item.path);
  }
  return paths;
}

QVariant CleanupTreeModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  if (const CleanupItem* item = itemAt(index)) return suggestionData(*item, index.column(), role);
  return groupData(groups_[static_cast<size_t>(index.row())], index.column(), role);
}

QVariant CleanupTreeModel::groupData(const Group& group, int column, int role) const {
  if (role == Qt::CheckStateRole && column == title) {
    const auto paths = tickable(group);
    const auto ticked = std::count_if(paths.begin(), paths.end(),
                                      [&](const std::string& path) { return model_.selection().contains(path); });
    if (ticked == 0) return Qt::Unchecked;
    return ticked == static_cast<long>(paths.size()) ? Qt::Checked : Qt::PartiallyChecked;
  }
  if (role == kSortRole) {
    if (column == size) return static_cast<qlonglong>(group.total);
    return static_cast<int>(group.category);
  }
  if (role == Qt::DisplayRole) {
    if (column == title) {
      return qstr(label(group.category)) + " (" + countText(static_cast<int64_t>(group.items.size())) + ")";
    }
    if (column == size) return bytesText(group.total);
  }
  if (role == Qt::TextAlignmentRole && column == size) return int(Qt::AlignRight | Qt::AlignVCenter);
  if (role == Qt::FontRole) {
    QFont bold;
    bold.setBold(true);
    return bold;
  }
  return {};
}

QVariant CleanupTreeModel::suggestionData(const CleanupItem& item, int column, int role) const {
  if (role == Qt::CheckStateRole && column == title && item.trashable) {
    return model_.selection().contains(item.path) ? Qt::Checked : Qt::Unchecked;
  }
  if (role == Qt::ToolTipRole) return qstr(item.detail);
  if (role == Qt::TextAlignmentRole && column == size) return int(Qt::AlignRight | Qt::AlignVCenter);
  const bool sorting = role == kSortRole;
  if (role != Qt::DisplayRole && !sorting) return {};
  switch (column) {
    case title:
      return qstr(item.title);
    case size:
      return sorting ? QVariant(static_cast<qlonglong>(item.size)) : QVariant(bytesText(item.size));
    case safety:
      if (sorting) return static_cast<int>(item.safety);
      if (!item.trashable) return "Command only";
      return item.safety == Safety::safe ? "Safe" : "Review";
    case location:
      return pathText(item.path, model_.home());
    case modified:
      if (!item.modified) return sorting ? QVariant(qlonglong(0)) : QVariant();
      return sorting ? QVariant(static_cast<qlonglong>(*item.modified))
                     : QVariant(ageText(static_cast<double>(*item.modified), secondsSinceEpoch()));
    default:
      return {};
  }
}

bool CleanupTreeModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (role != Qt::CheckStateRole || index.column() != title) return false;
  const bool ticked = value.toInt() != Qt::Unchecked;
  if (const CleanupItem* item = itemAt(index)) {
    if (!item->trashable) return false;
    model_.setSelected({item->path}, ticked);
  } else {
    model_.setSelected(tickable(groups_[static_cast<size_t>(index.row())]), ticked);
  }
  return true;
}

Qt::ItemFlags CleanupTreeModel::flags(const QModelIndex& index) const {
  if (!index.isValid()) return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  if (index.column() != title) return flags;
  const CleanupItem* item = itemAt(index);
  if (!item) return flags | Qt::ItemIsUserCheckable;
  return item->trashable ? flags | Qt::ItemIsUserCheckable : flags;
}

QVariant CleanupTreeModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case title: return "Item";
    case size: return "Size";
    case safety: return "Safety";
    case location: return "Location";
    case modified: return "Age";
    default: return {};
  }
}

bool CleanupSortModel::lessThan(const QModelIndex& left, const QModelIndex& right) const {
  if (left.parent().isValid()) return QSortFilterProxyModel::lessThan(left, right);
  // Qt reverses the answer for a descending sort; answering the other way round undoes that.
  const bool before = left.row() < right.row();
  return sortOrder() == Qt::AscendingOrder ? before : !before;
}

}  // namespace tallyfin::app
