#include "app/views/large_files_model.h"

#include "app/model/app_model.h"
#include "app/views/text.h"
#include "kit/base/clock.h"
#include "kit/base/paths.h"
#include "kit/cleanup/keep_list.h"
#include "kit/store/file_kind.h"

namespace tallyfin::app {

QString kindOf(const std::string& path) {
  const auto forced = file_kind::overrideForPath(parentPath(path));
  return qstr(file_kind::label(forced.value_or(file_kind::of(lastComponent(path)))));
}

LargeFilesModel::LargeFilesModel(AppModel& model, QObject* parent) : QAbstractTableModel(parent), model_(model) {
  connect(&model_, &AppModel::cleanupChanged, this, &LargeFilesModel::rebuild);
  rebuild();
}

void LargeFilesModel::rebuild() {
  beginResetModel();
  files_.clear();
  if (const auto& report = model_.scanner().report()) {
    const auto& removed = model_.trash().removed();
    const HiddenPaths hidden{{}, {removed.begin(), removed.end()}};
    for (const auto& file : report->largeFiles) {
      if (!hidden.contains(file.path)) files_.push_back(file);
    }
  }
  endResetModel();
}

int LargeFilesModel::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(files_.size());
}

int LargeFilesModel::columnCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : Column::kColumns; }

QVariant LargeFilesModel::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) return {};
  const LargeFile& file = fileAt(index.row());
  if (role == Qt::TextAlignmentRole && index.column() == size) return int(Qt::AlignRight | Qt::AlignVCenter);
  if (role == Qt::ToolTipRole) return pathText(file.path, model_.home());
  const bool sorting = role == kSortRole;
  if (role != Qt::DisplayRole && !sorting) return {};
  switch (index.column()) {
    case name:
      return qstr(lastComponent(file.path));
    case size:
      return sorting ? QVariant(static_cast<qlonglong>(file.size)) : QVariant(bytesText(file.size));
    case kind:
      return kindOf(file.path);
    case modified:
      return sorting ? QVariant(static_cast<qlonglong>(file.modified))
                     : QVariant(ageText(static_cast<double>(file.modified), secondsSinceEpoch()));
    case folder:
      return pathText(parentPath(file.path), model_.home());
    default:
      return {};
  }
}

QVariant LargeFilesModel::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case name: return "Name";
    case size: return "Size";
    case kind: return "Kind";
    case modified: return "Age";
    case folder: return "Folder";
    default: return {};
  }
}

}  // namespace tallyfin::app
