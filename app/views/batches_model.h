#pragma once

// The recent batches moved to the Trash, newest first, for Undo.

#include <QAbstractTableModel>

#include "kit/trash/journal.h"

namespace tallyfin::app {

class TrashCoordinator;

class BatchesModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { when, what, items, size, kColumns };

  explicit BatchesModel(TrashCoordinator& trash, QObject* parent = nullptr);

  const TrashBatch& batchAt(int row) const;

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

 private:
  TrashCoordinator& trash_;
};

}  // namespace tallyfin::app
