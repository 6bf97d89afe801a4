#include "app/views/large_files_screen.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QTableView>
#include <QToolButton>

#include <set>

#include "app/model/app_model.h"
#include "app/views/file_manager.h"
#include "app/views/large_files_model.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/trash_confirmation.h"
#include "kit/base/paths.h"

namespace tallyfin::app {

LargeFilesScreen::LargeFilesScreen(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      files_(new LargeFilesModel(model, this)),
      sorted_(new QSortFilterProxyModel(this)),
      summary_(textLine({}, this)),
      filter_(new QLineEdit(this)),
      table_(new QTableView(this)),
      reveal_(new QPushButton("Show in Folder", this)),
      showOnMap_(new QPushButton("Show on Disk Map", this)),
      trash_(new QPushButton("Move to Trash\u2026", this)) {
  sorted_->setSourceModel(files_);
  sorted_->setSortRole(LargeFilesModel::kSortRole);
  sorted_->setFilterCaseSensitivity(Qt::CaseInsensitive);
  sorted_->setFilterKeyColumn(-1);  // name, kind and folder all count
  filter_->setPlaceholderText("Find by name, kind or folder");
  filter_->setClearButtonEnabled(true);
  for (QToolButton* clear : filter_->findChildren<QToolButton*>()) clear->setAccessibleName("Clear the search");
  filter_->setAccessibleName("Find large files");
  summary_->setAccessibleName("Large files in all");

  table_->setModel(sorted_);
  table_->setAccessibleName("Large files");
  table_->setSortingEnabled(true);
  table_->sortByColumn(LargeFilesModel::size, Qt::DescendingOrder);
  table_->setSelectionBehavior(QAbstractItemView::SelectRows);
  table_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  table_->setAlternatingRowColors(true);
  table_->setWordWrap(false);
  table_->setTextElideMode(Qt::ElideMiddle);
  table_->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
  table_->verticalHeader()->setDefaultSectionSize(fontMetrics().height() + 8);
  table_->verticalHeader()->hide();
  table_->setCornerButtonEnabled(false);
  table_->horizontalHeader()->setSectionResizeMode(LargeFilesModel::name, QHeaderView::Stretch);
  table_->horizontalHeader()->setSectionResizeMode(LargeFilesModel::folder, QHeaderView::Stretch);
  for (const int column : {LargeFilesModel::size, LargeFilesModel::kind, LargeFilesModel::modified}) {
    table_->horizontalHeader()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
  }
  reveal_->setAccessibleName("Show the chosen file in the file manager");
  showOnMap_->setObjectName("showOnDiskMap");
  showOnMap_->setAccessibleName("Show the chosen file on the disk map");
  trash_->setObjectName("trashFiles");
  trash_->setAccessibleName("Move the chosen files to the Trash");

  auto* buttons = new QHBoxLayout;
  buttons->addWidget(filter_, 1);
  buttons->addWidget(reveal_);
  buttons->addWidget(showOnMap_);
  buttons->addWidget(trash_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addWidget(pageTitle("Large Files", this));
  layout->addWidget(summary_);
  layout->addLayout(buttons);
  layout->addWidget(table_, 1);

  connect(filter_, &QLineEdit::textChanged, sorted_, &QSortFilterProxyModel::setFilterFixedString);
  connect(files_, &QAbstractItemModel::modelReset, this, &LargeFilesScreen::refresh);
  connect(table_->selectionModel(), &QItemSelectionModel::selectionChanged, this, &LargeFilesScreen::refresh);
  connect(&model_.trash(), &TrashCoordinator::trashingChanged, this, &LargeFilesScreen::refresh);
  connect(table_, &QTableView::activated, this, [this](const QModelIndex& index) {
    showInFolder(files_->fileAt(sorted_->mapToSource(index).row()).path);
  });
  connect(reveal_, &QPushButton::clicked, this, [this] {
    const auto rows = chosenRows();
    if (!rows.empty()) showInFolder(files_->fileAt(rows.front()).path);
  });
  connect(showOnMap_, &QPushButton::clicked, this, [this] {
    const auto rows = chosenRows();
    if (!rows.empty()) model_.showOnDiskMap(files_->fileAt(rows.front()).path);
  });
  connect(trash_, &QPushButton::clicked, this, &LargeFilesScreen::confirmTrash);
  refresh();
}

std::vector<int> LargeFilesScreen::chosenRows() const {
  std::set<int> rows;
  for (const QModelIndex& index : table_->selectionModel()->selectedRows()) rows.insert(sorted_->mapToSource(index).row());
  return {rows.begin(), rows.end()};
}

void LargeFilesScreen::refresh() {
  const auto& report = model_.scanner().report();
  int64_t total = 0;
  for (int row = 0; row < files_->rowCount(); ++row) total += files_->fileAt(row).size;
  summary_->setText(report ? countOf(files_->rowCount(), "file", "files") + " of 100 MiB or more \u00b7 " +
                                 bytesText(total) + " in all"
                           : noReportText(model_));
  const bool chosen = !chosenRows().empty();
  reveal_->setEnabled(chosen);
  showOnMap_->setEnabled(chosen);
  trash_->setEnabled(chosen && !model_.trash().isTrashing());
}

void LargeFilesScreen::confirmTrash() {
  std::vector<TrashConfirmation::Entry> entries;
  std::vector<std::pair<std::string, int64_t>> files;
  for (const int row : chosenRows()) {
    const LargeFile& file = files_->fileAt(row);
    entries.push_back({qstr(lastComponent(file.path)), pathText(parentPath(file.path), model_.home()), file.size});
    files.emplace_back(file.path, file.size);
  }
  if (files.empty()) return;
  const std::string label = files.size() == 1 ? std::string(lastComponent(files.front().first))
                                              : "Large files: " + itemCount(files.size());
  TrashConfirmation::ask(entries, this, [this, files, label] { model_.trashFiles(files, label); });
}

}  // namespace tallyfin::app
