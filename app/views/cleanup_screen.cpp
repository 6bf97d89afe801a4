#include "app/views/cleanup_screen.h"

#include <QBoxLayout>
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QTableView>
#include <QTreeView>

#include "app/model/app_model.h"
#include "app/views/batches_model.h"
#include "app/views/cleanup_tree_model.h"
#include "app/views/file_manager.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/trash_confirmation.h"
#include "kit/cleanup/cleanup_totals.h"

namespace tallyfin::app {
namespace {

QLabel* monospace(QWidget* parent) {
  QLabel* label = textLine({}, parent);
  QFont font("monospace");
  font.setStyleHint(QFont::Monospace);
  label->setFont(font);
  return label;
}

}  // namespace

CleanupScreen::CleanupScreen(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      items_(new CleanupTreeModel(model, this)),
      sorted_(new CleanupSortModel(this)),
      summary_(textLine({}, this)),
      noReport_(textLine({}, this)),
      safety_(new QComboBox(this)),
      category_(new QComboBox(this)),
      tree_(new QTreeView(this)),
      currentTitle_(sectionHeading({}, this)),
      currentDetail_(textLine({}, this)),
      command_(monospace(this)),
      copy_(new QPushButton("Copy Command", this)),
      keep_(new QPushButton("Keep", this)),
      reveal_(new QPushButton("Show in Folder", this)),
      showOnMap_(new QPushButton("Show on Disk Map", this)),
      selected_(new QLabel(this)),
      trash_(new QPushButton("Move to Trash\u2026", this)),
      batches_(new BatchesModel(model.trash(), this)),
      batchList_(new QTableView(this)),
      undo_(new QPushButton("Undo", this)) {
  summary_->setAccessibleName("Cleanup totals");
  safety_->addItems({"Safe and Review", "Safe only", "Review only"});
  safety_->setObjectName("safetyFilter");
  safety_->setAccessibleName("Show by safety");
  category_->addItem("All categories");
  for (size_t c = 0; c < kCleanupCategoryCount; ++c) category_->addItem(qstr(label(static_cast<CleanupCategory>(c))));
  category_->setAccessibleName("Show one category");

  sorted_->setSourceModel(items_);
  sorted_->setSortRole(CleanupTreeModel::kSortRole);
  tree_->setModel(sorted_);
  tree_->setAccessibleName("Cleanup suggestions");
  tree_->setSortingEnabled(true);
  tree_->sortByColumn(CleanupTreeModel::size, Qt::DescendingOrder);
  tree_->setUniformRowHeights(true);
  tree_->setAlternatingRowColors(true);
  tree_->header()->setStretchLastSection(false);
  tree_->header()->setSectionResizeMode(CleanupTreeModel::title, QHeaderView::Stretch);
  tree_->header()->setSectionResizeMode(CleanupTreeModel::location, QHeaderView::Stretch);
  for (const int column : {CleanupTreeModel::size, CleanupTreeModel::safety, CleanupTreeModel::modified}) {
    tree_->header()->setSectionResizeMode(column, QHeaderView::ResizeToContents);
  }

  currentDetail_->setAccessibleName("What this item is");
  command_->setAccessibleName("The tool's own clean command");
  copy_->setAccessibleName("Copy the clean command");
  keep_->setObjectName("keep");
  keep_->setAccessibleName("Keep this item: never suggest it again");
  keep_->setToolTip("Tallyfin will not suggest this item again (saved in keep.json)");
  reveal_->setAccessibleName("Show the item in the file manager");
  showOnMap_->setObjectName("showOnDiskMap");
  showOnMap_->setAccessibleName("Show the item on the disk map");
  selected_->setObjectName("ticked");
  selected_->setAccessibleName("Ticked items");
  trash_->setObjectName("moveToTrash");
  trash_->setAccessibleName("Move the ticked items to the Trash");

  batchList_->setModel(batches_);
  batchList_->setAccessibleName("Batches moved to the Trash lately");
  batchList_->setSelectionBehavior(QAbstractItemView::SelectRows);
  batchList_->setSelectionMode(QAbstractItemView::SingleSelection);
  batchList_->verticalHeader()->hide();
  batchList_->setCornerButtonEnabled(false);
  batchList_->horizontalHeader()->setSectionResizeMode(BatchesModel::what, QHeaderView::Stretch);
  batchList_->setMaximumHeight(150);
  undo_->setObjectName("undoBatch");
  undo_->setAccessibleName("Put the chosen batch back");

  auto* filters = new QHBoxLayout;
  filters->addWidget(new QLabel("Show:", this));
  filters->addWidget(safety_);
  filters->addWidget(category_);
  filters->addStretch(1);

  auto* itemButtons = new QHBoxLayout;
  itemButtons->addWidget(copy_);
  itemButtons->addWidget(keep_);
  itemButtons->addWidget(reveal_);
  itemButtons->addWidget(showOnMap_);
  itemButtons->addStretch(1);

  auto* actions = new QHBoxLayout;
  actions->addWidget(selected_, 1);
  actions->addWidget(trash_);

  auto* undoRow = new QHBoxLayout;
  undoRow->addWidget(sectionHeading("Moved to the Trash lately", this), 1);
  undoRow->addWidget(undo_);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addWidget(pageTitle("Cleanup", this));
  layout->addWidget(summary_);
  layout->addLayout(filters);
  layout->addWidget(noReport_);
  layout->addWidget(tree_, 1);
  layout->addWidget(currentTitle_);
  layout->addWidget(currentDetail_);
  layout->addWidget(command_);
  layout->addLayout(itemButtons);
  layout->addLayout(actions);
  layout->addLayout(undoRow);
  layout->addWidget(batchList_);

  connect(safety_, &QComboBox::currentIndexChanged, this, &CleanupScreen::applyFilters);
  connect(category_, &QComboBox::currentIndexChanged, this, &CleanupScreen::applyFilters);
  connect(items_, &QAbstractItemModel::modelReset, this, [this] {
    tree_->expandAll();
    showCurrent();
  });
  connect(tree_->selectionModel(), &QItemSelectionModel::currentChanged, this, &CleanupScreen::showCurrent);
  connect(copy_, &QPushButton::clicked, this, [this] {
    if (const CleanupItem* item = current(); item && item->command) {
      QGuiApplication::clipboard()->setText(qstr(*item->command));
      model_.setNotice("Copied: " + *item->command, true);
    }
  });
  connect(keep_, &QPushButton::clicked, this, [this] {
    if (const CleanupItem* item = current()) model_.setKept({item->path}, true);
  });
  connect(reveal_, &QPushButton::clicked, this, [this] {
    if (const CleanupItem* item = current()) showInFolder(item->path);
  });
  connect(showOnMap_, &QPushButton::clicked, this, [this] {
    if (const CleanupItem* item = current()) model_.showOnDiskMap(item->path);
  });
  connect(trash_, &QPushButton::clicked, this, &CleanupScreen::confirmTrash);
  connect(undo_, &QPushButton::clicked, this, [this] {
    const QModelIndex chosen = batchList_->currentIndex();
    if (chosen.isValid()) model_.undo(batches_->batchAt(chosen.row()).id);
  });
  connect(&model_, &AppModel::cleanupChanged, this, &CleanupScreen::refresh);
  connect(&model_, &AppModel::selectionChanged, this, &CleanupScreen::showSelection);
  connect(&model_, &AppModel::filterChanged, this, [this] {
    safety_->setCurrentIndex(model_.cleanupSafety() ? (*model_.cleanupSafety() == Safety::safe ? 1 : 2) : 0);
    category_->setCurrentIndex(model_.cleanupCategory() ? static_cast<int>(*model_.cleanupCategory()) + 1 : 0);
  });
  connect(&model_.trash(), &TrashCoordinator::trashingChanged, this, &CleanupScreen::showSelection);
  connect(&model_.trash(), &TrashCoordinator::batchesChanged, this, [this] {
    undo_->setEnabled(batches_->rowCount() > 0);
    if (batches_->rowCount() > 0) batchList_->selectRow(0);
  });
  tree_->expandAll();
  refresh();
  showCurrent();
  undo_->setEnabled(batches_->rowCount() > 0);
}

void CleanupScreen::applyFilters() {
  const int safety = safety_->currentIndex();
  const int category = category_->currentIndex();
  model_.setCleanupFilter(safety == 0 ? std::nullopt : std::optional(safety == 1 ? Safety::safe : Safety::review),
                          category == 0 ? std::nullopt : std::optional(static_cast<CleanupCategory>(category - 1)));
}

void CleanupScreen::refresh() {
  const bool hasReport = model_.scanner().report() != nullptr;
  noReport_->setVisible(!hasReport);
  noReport_->setText(noReportText(model_));
  const CleanupTotals totals = cleanupTotals(model_.cleanup(), {});
  summary_->setText(hasReport ? countOf(static_cast<int64_t>(model_.cleanup().size()), "suggestion", "suggestions") +
                                    " \u00b7 " + bytesText(totals.safe) + " Safe (rebuilds by itself) \u00b7 " +
                                    bytesText(totals.review) + " Review (look first)"
                              : QString());
  showSelection();
}

void CleanupScreen::showSelection() {
  int64_t count = 0, bytes = 0;
  for (const auto& item : model_.cleanup()) {
    if (!model_.selection().contains(item.path)) continue;
    ++count;
    bytes += item.size;
  }
  selected_->setText(count == 0 ? QString("Tick items to move them to the Trash.")
                                : countOf(count, "item", "items") + " ticked \u00b7 " + bytesText(bytes));
  trash_->setEnabled(count > 0 && !model_.trash().isTrashing());
}

const CleanupItem* CleanupScreen::current() const { return items_->itemAt(sorted_->mapToSource(tree_->currentIndex())); }

void CleanupScreen::showCurrent() {
  const CleanupItem* item = current();
  command_->setVisible(item && item->command);
  keep_->setEnabled(item != nullptr);
  reveal_->setEnabled(item != nullptr);
  showOnMap_->setEnabled(item != nullptr);
  copy_->setEnabled(item && item->command);
  if (!item) {
    currentTitle_->setText("Nothing chosen");
    currentDetail_->setText("Choose an item to see what it is, where it lives and how it comes back.");
    return;
  }
  currentTitle_->setText(qstr(item->title) + " \u00b7 " + bytesText(item->size));
  QString detail = qstr(item->detail) + "\n" + pathText(item->path, model_.home());
  if (!item->trashable) detail += "\nThis one is cleaned with its own tool only; copy the command below.";
  currentDetail_->setText(detail);
  command_->setText(item->command ? "$ " + qstr(*item->command) : QString());
}

void CleanupScreen::confirmTrash() {
  std::vector<TrashConfirmation::Entry> entries;
  for (const auto& item : model_.cleanup()) {
    if (model_.selection().contains(item.path) && item.trashable) {
      entries.push_back({qstr(item.title), pathText(item.path, model_.home()), item.size});
    }
  }
  if (entries.empty()) return;
  TrashConfirmation::ask(entries, this, [this] { model_.trashSelection(); });
}

}  // namespace tallyfin::app
