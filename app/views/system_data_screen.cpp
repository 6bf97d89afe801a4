#include "app/views/system_data_screen.h"

#include <QBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "app/model/app_model.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/tool_parts.h"
#include "kit/agents/system_data_json.h"
#include "kit/base/saturating.h"

namespace tallyfin::app {
namespace {

using Kind = SystemDataPart::ActionKind;

QString sizeOf(const SystemDataPart& part) { return part.size ? bytesText(*part.size) : "not measured"; }

}  // namespace

SystemDataScreen::SystemDataScreen(AppModel& model, QWidget* parent)
    : ToolScreen(model, ToolResults::Tool::systemData, parent),
      state_(stateLine(this)),
      refresh_(new QPushButton("Refresh", this)),
      rows_(new ToolListModel({"Part", "Size", "What frees it"}, this)),
      parts_(new ToolList(rows_, "Parts of the system's share", this)),
      filter_(parts_->makeFilterBox("Find a part", "Find a part of the system's share", this)),
      title_(sectionHeading({}, this)),
      detail_(textLine({}, this)),
      command_(new CommandRow(model, "Command that frees the chosen part", this)),
      action_(textLine({}, this)),
      openCleanup_(new QPushButton("Open in Cleanup", this)) {
  refresh_->setAccessibleName("Measure the live parts again");
  parts_->setRootIsDecorated(false);
  parts_->sortByColumn(1, Qt::DescendingOrder);  // biggest first
  detail_->setAccessibleName("What the chosen part is");
  action_->setAccessibleName("What to do about the chosen part");
  openCleanup_->setObjectName("openCleanup");
  openCleanup_->setAccessibleName("Show these items in the cleanup list");

  auto* top = new QHBoxLayout;
  top->addWidget(pageTitle("System Data", this), 1);
  top->addWidget(refresh_);
  auto* actions = new QHBoxLayout;
  actions->addWidget(action_, 1);
  actions->addWidget(openCleanup_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addLayout(top);
  layout->addWidget(state_);
  layout->addWidget(filter_);
  layout->addWidget(parts_, 1);
  layout->addWidget(title_);
  layout->addWidget(detail_);
  layout->addWidget(command_);
  layout->addLayout(actions);

  connect(refresh_, &QPushButton::clicked, this, [this] { model_.tools().load(ToolResults::Tool::systemData); });
  connect(parts_->selectionModel(), &QItemSelectionModel::currentChanged, this, &SystemDataScreen::showCurrent);
  connect(openCleanup_, &QPushButton::clicked, this, [this] {
    const SystemDataPart* part = currentPart();
    if (!part || !part->action.category) return;
    model_.setCleanupFilter(std::nullopt, part->action.category);
    model_.setRoute(Route::cleanup);
  });
  refresh();
}

const SystemDataPart* SystemDataScreen::currentPart() const {
  const auto* row = parts_->currentRow();
  const auto& parts = model_.tools().systemData;
  if (!row || !parts) return nullptr;
  for (const auto& part : *parts) {
    if (part.id == row->key) return &part;
  }
  return nullptr;
}

void SystemDataScreen::refresh() {
  const auto& parts = model_.tools().systemData;
  const bool loading = model_.tools().isLoading(ToolResults::Tool::systemData);
  refresh_->setEnabled(!loading && model_.scanner().report());
  std::vector<ToolListModel::Row> rows;
  int64_t measured = 0;
  if (parts) {
    for (const auto& part : *parts) {
      if (part.size) measured = saturatingAdd(measured, *part.size);
      rows.push_back(
          {part.id,
           {{qstr(part.title), {}},
            {sizeOf(part), static_cast<qlonglong>(part.size.value_or(-1))},
            {part.action.kind == Kind::command ? qstr(part.action.text) : qstr(AgentJson::actionText(part.action)),
             {}}},
           qstr(part.detail)});
    }
  }
  parts_->setRows(std::move(rows));
  if (!model_.scanner().report()) {
    state_->setText(noReportText(model_));
  } else if (!parts) {
    state_->setText(loading ? "Measuring the parts\u2026" : QString());
  } else {
    state_->setText("What fills the system's share of the disk, from the last scan: " + bytesText(measured) +
                    " in the parts measured. Nothing here runs anything \u2014 copy a command if you want it.");
  }
  showCurrent();
}

void SystemDataScreen::showCurrent() {
  const SystemDataPart* part = currentPart();
  for (QWidget* shown : std::initializer_list<QWidget*>{title_, detail_, action_}) shown->setVisible(part != nullptr);
  openCleanup_->setVisible(part && part->action.kind == Kind::cleanup && part->action.category);
  command_->setCommand(part && part->action.kind == Kind::command ? std::optional(part->action.text) : std::nullopt);
  if (!part) return;
  title_->setText(qstr(part->title) + " \u00b7 " + sizeOf(*part));
  QString detail = qstr(part->detail);
  if (part->note) {
    detail += "\n" + (part->count ? countOf(*part->count, "snapshot", "snapshots") : QString()) + qstr(*part->note);
  }
  detail_->setText(detail);
  action_->setText(part->action.kind == Kind::command ? "Run it in a terminal if you want to; Tallyfin never does."
                                                      : qstr(AgentJson::actionText(part->action)) + ".");
}

}  // namespace tallyfin::app
