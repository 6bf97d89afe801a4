#include "app/views/tool_list_model.h"

#include <QApplication>
#include <QPalette>
#include <algorithm>

#include "app/views/colors.h"

namespace tallyfin::app {
namespace {

// An index's internal id: 0 for a top row, its top row's number + 1 for a row below one.
constexpr quintptr kTopRow = 0;

}  // namespace

ToolListModel::ToolListModel(QStringList headers, QObject* parent)
    : QAbstractItemModel(parent), headers_(std::move(headers)) {}

void ToolListModel::setRows(std::vector<Row> rows) {
  beginResetModel();
  rows_ = std::move(rows);
  endResetModel();
  emit tickedChanged();
}

const ToolListModel::Row* ToolListModel::rowAt(const QModelIndex& index) const {
  return const_cast<ToolListModel*>(this)->mutableRow(index);
}

ToolListModel::Row* ToolListModel::mutableRow(const QModelIndex& index) {
  if (!index.isValid() || index.model() != this) return nullptr;
  if (index.internalId() == kTopRow) return &rows_[static_cast<size_t>(index.row())];
  Row& top = rows_[static_cast<size_t>(index.internalId() - 1)];
  return &top.children[static_cast<size_t>(index.row())];
}

QModelIndex ToolListModel::indexOf(const std::string& key) const {
  for (size_t r = 0; r < rows_.size(); ++r) {
    if (rows_[r].key == key) return index(static_cast<int>(r), 0);
  }
  for (size_t r = 0; r < rows_.size(); ++r) {
    const auto& children = rows_[r].children;
    for (size_t c = 0; c < children.size(); ++c) {
      if (children[c].key == key) return index(static_cast<int>(c), 0, index(static_cast<int>(r), 0));
    }
  }
  return {};
}

std::set<std::string> ToolListModel::ticked() const {
  std::set<std::string> keys;
  for (const auto& row : rows_) {
    if (row.ticked.value_or(false)) keys.insert(row.key);
    for (const auto& child : row.children) {
      if (child.ticked.value_or(false)) keys.insert(child.key);
    }
  }
  return keys;
}

std::optional<Qt::CheckState> ToolListModel::checkState(const Row& row) const {
  if (row.ticked) return *row.ticked ? Qt::Checked : Qt::Unchecked;
  if (row.keepsOne) return std::nullopt;  // ticking a whole set would leave no copy
  size_t boxes = 0, ticks = 0;
  for (const auto& child : row.children) {
    if (!child.ticked) continue;
    ++boxes;
    ticks += *child.ticked ? 1 : 0;
  }
  if (boxes == 0) return std::nullopt;
  return ticks == 0 ? Qt::Unchecked : ticks == boxes ? Qt::Checked : Qt::PartiallyChecked;
}

bool ToolListModel::tickChild(Row& parent, Row& child, bool ticked) {
  if (!child.ticked || *child.ticked == ticked) return false;
  if (ticked && parent.keepsOne) {
    const auto unticked = std::count_if(parent.children.begin(), parent.children.end(),
                                        [](const Row& row) { return row.ticked == false; });
    if (unticked <= 1) return false;
  }
  child.ticked = ticked;
  return true;
}

bool ToolListModel::setTicked(const QModelIndex& at, bool ticked) {
  Row* row = mutableRow(at);
  if (!row) return false;
  bool changed = false;
  if (at.internalId() != kTopRow) {
    changed = tickChild(rows_[static_cast<size_t>(at.internalId() - 1)], *row, ticked);
    if (changed) emit dataChanged(at.parent(), at.parent().siblingAtColumn(columnCount() - 1), {Qt::CheckStateRole});
  } else if (row->ticked) {
    changed = *row->ticked != ticked;
    row->ticked = ticked;
  } else if (checkState(*row)) {
    for (auto& child : row->children) changed = tickChild(*row, child, ticked) || changed;
    if (changed && !row->children.empty()) {
      emit dataChanged(index(0, 0, at), index(static_cast<int>(row->children.size()) - 1, 0, at), {Qt::CheckStateRole});
    }
  }
  if (!changed) return false;
  emit dataChanged(at.siblingAtColumn(0), at.siblingAtColumn(columnCount() - 1), {Qt::CheckStateRole});
  emit tickedChanged();
  return true;
}

QModelIndex ToolListModel::index(int row, int column, const QModelIndex& parent) const {
  if (row < 0 || column < 0 || column >= columnCount()) return {};
  if (!parent.isValid()) {
    return static_cast<size_t>(row) < rows_.size() ? createIndex(row, column, kTopRow) : QModelIndex();
  }
  if (parent.internalId() != kTopRow) return {};
  const Row& top = rows_[static_cast<size_t>(parent.row())];
  if (static_cast<size_t>(row) >= top.children.size()) return {};
  return createIndex(row, column, static_cast<quintptr>(parent.row()) + 1);
}

QModelIndex ToolListModel::parent(const QModelIndex& child) const {
  if (!child.isValid() || child.internalId() == kTopRow) return {};
  return createIndex(static_cast<int>(child.internalId() - 1), 0, kTopRow);
}

int ToolListModel::rowCount(const QModelIndex& parent) const {
  if (!parent.isValid()) return static_cast<int>(rows_.size());
  if (parent.column() != 0 || parent.internalId() != kTopRow) return 0;
  return static_cast<int>(rows_[static_cast<size_t>(parent.row())].children.size());
}

int ToolListModel::columnCount(const QModelIndex&) const { return static_cast<int>(headers_.size()); }

QVariant ToolListModel::data(const QModelIndex& index, int role) const {
  const Row* row = rowAt(index);
  if (!row) return {};
  const size_t column = static_cast<size_t>(index.column());
  const Cell* cell = column < row->cells.size() ? &row->cells[column] : nullptr;
  switch (role) {
    case Qt::DisplayRole:
      return cell ? cell->text : QString();
    case kSortRole:
      if (!cell) return QString();
      return cell->sortKey.isValid() ? cell->sortKey : QVariant(cell->text);
    case Qt::ToolTipRole:
      return row->toolTip.isEmpty() ? QVariant() : QVariant(row->toolTip);
    case Qt::CheckStateRole:
      if (column != 0) return {};
      if (const auto state = checkState(*row)) return *state;
      return {};
    case Qt::BackgroundRole:
      if (!row->marked) return {};
      return [] {
        QColor tint = warningColor(QApplication::palette());
        tint.setAlpha(55);
        return tint;
      }();
    case Qt::TextAlignmentRole:
      return cell && cell->figure ? QVariant(int(Qt::AlignRight | Qt::AlignVCenter)) : QVariant();
    default:
      return {};
  }
}

bool ToolListModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  if (role != Qt::CheckStateRole || index.column() != 0) return false;
  return setTicked(index, value.toInt() != Qt::Unchecked);
}

Qt::ItemFlags ToolListModel::flags(const QModelIndex& index) const {
  const Row* row = rowAt(index);
  if (!row) return Qt::NoItemFlags;
  Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable;
  if (index.column() == 0 && checkState(*row)) flags |= Qt::ItemIsUserCheckable;
  return flags;
}

QVariant ToolListModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole || section < 0 || section >= headers_.size()) return {};
  return headers_[section];
}

}  // namespace tallyfin::app
