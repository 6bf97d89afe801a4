#include "app/views/batches_model.h"

#include "app/model/trash_coordinator.h"
#include "app/views/text.h"

namespace tallyfin::app {

BatchesModel::BatchesModel(TrashCoordinator& trash, QObject* parent) : QAbstractTableModel(parent), trash_(trash) {
  connect(&trash_, &TrashCoordinator::batchesChanged, this, [this] {
    beginResetModel();
    endResetModel();
  });
}

const TrashBatch& BatchesModel::batchAt(int row) const { return trash_.batches()[static_cast<size_t>(row)]; }

int BatchesModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(trash_.batches().size());
}

int BatchesModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : Column::kColumns; }

QVariant BatchesModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const TrashBatch& batch = batchAt(index.row());
  if (role == Qt::TextAlignmentRole && (index.column() == size || index.column() == items)) {
    return int(Qt::AlignRight | Qt::AlignVCenter);
  }
  if (role != Qt::DisplayRole) return {};
  switch (index.column()) {
    case when: return dateText(batch.date);
    case what: return qstr(batch.label().value_or("Moved to the Trash"));
    case items: return countText(static_cast<int64_t>(batch.entries.size()));
    case size: return bytesText(batch.size);
    default: return {};
  }
}

QVariant BatchesModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case when: return "When";
    case what: return "What";
    case items: return "Items";
    case size: return "Size";
    default: return {};
  }
}

}  // namespace tallyfin::app
