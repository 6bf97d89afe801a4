#pragma once

// The report's large files, minus those moved to the Trash since, as a table to
// sort by size, kind or age.

#include <QAbstractTableModel>

#include <vector>

#include "kit/store/large_file.h"

namespace tallyfin::app {

class AppModel;

class LargeFilesModel : public QAbstractTableModel {
  Q_OBJECT

 public:
  enum Column { name, size, kind, modified, folder, kColumns };
  static constexpr int kSortRole = Qt::UserRole;

  explicit LargeFilesModel(AppModel& model, QObject* parent = nullptr);

  const LargeFile& fileAt(int row) const { return files_[static_cast<size_t>(row)]; }

  int rowCount(const QModelIndex& parent = {}) const override;
  int columnCount(const QModelIndex& parent = {}) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;

 private:
  void rebuild();

  AppModel& model_;
  std::vector<LargeFile> files_;
};

// "Videos", "Disk images": what a file holds, by its folder or its name.
QString kindOf(const std::string& path);

}  // namespace tallyfin::app
