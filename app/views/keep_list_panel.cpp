#include "app/views/keep_list_panel.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <map>

#include "app/model/app_model.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/tool_parts.h"

namespace tallyfin::app {

KeepListPanel::KeepListPanel(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      state_(stateLine(this)),
      rows_(new ToolListModel({"Kept item", "Suggestion", "Size"}, this)),
      kept_(new ToolList(rows_, "Kept items", this)),
      filter_(kept_->makeFilterBox("Find a kept item", "Find a kept item", this)),
      remove_(new QPushButton("Remove from Keep List", this)) {
  kept_->setRootIsDecorated(false);
  kept_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  kept_->sortByColumn(0, Qt::AscendingOrder);
  kept_->fitRows(8);
  remove_->setObjectName("removeKept");
  remove_->setAccessibleName("Suggest the chosen items again");
  remove_->setShortcut(QKeySequence::Delete);

  auto* actions = new QHBoxLayout;
  actions->addWidget(filter_, 1);
  actions->addWidget(remove_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(sectionHeading("Keep list", this));
  layout->addWidget(state_);
  layout->addLayout(actions);
  layout->addWidget(kept_);

  connect(remove_, &QPushButton::clicked, this, &KeepListPanel::removeChosen);
  connect(&model_, &AppModel::keepChanged, this, &KeepListPanel::refresh);
  connect(&model_.scanner(), &ScanController::reportChanged, this, &KeepListPanel::refresh);
  connect(kept_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
          [this] { remove_->setEnabled(kept_->selectionModel()->hasSelection()); });
  refresh();
}

void KeepListPanel::refresh() {
  // What the report says of each kept path, when it lists it.
  std::map<std::string, const CleanupItem*> suggested;
  if (const auto& report = model_.scanner().report()) {
    for (const CleanupItem& item : report->items) suggested[item.path] = &item;
  }
  std::vector<ToolListModel::Row> rows;
  for (const std::string& path : model_.keep()) {
    const auto found = suggested.find(path);
    const CleanupItem* item = found == suggested.end() ? nullptr : found->second;
    rows.push_back({path,
                    {{pathText(path, model_.home()), {}},
                     item ? ToolListModel::Cell{qstr(item->title), {}} : ToolListModel::Cell{"not in the last scan", {}},
                     item ? sizeCell(item->size) : ToolListModel::Cell{QString::fromUtf8("\u2014"), 0LL, true}},
                    pathText(path, model_.home())});
  }
  const bool any = !rows.empty();
  kept_->setRows(std::move(rows));
  kept_->setVisible(any);
  filter_->setVisible(any);
  remove_->setVisible(any);
  remove_->setEnabled(kept_->selectionModel()->hasSelection());
  state_->setText(any ? "Tallyfin never suggests these, Autopilot never picks them, and the Trash refuses them."
                      : "Nothing is kept. Press Keep on a suggestion of the Cleanup screen to have it left alone "
                        "for good.");
}

void KeepListPanel::removeChosen() {
  std::vector<std::string> paths;
  for (const QModelIndex& index : kept_->selectionModel()->selectedRows()) {
    if (const auto* row = rows_->rowAt(kept_->sorted()->mapToSource(index))) paths.push_back(row->key);
  }
  if (!paths.empty()) model_.setKept(std::move(paths), false);
}

}  // namespace tallyfin::app
