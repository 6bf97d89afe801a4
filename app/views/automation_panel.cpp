#include "app/views/automation_panel.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>
#include <array>

#include "app/model/app_model.h"
#include "app/views/colors.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/tool_parts.h"
#include "kit/base/clock.h"
#include "kit/base/saturating.h"

namespace tallyfin::app {
namespace {

constexpr std::array<Schedule, 3> kSchedules = {Schedule::off, Schedule::daily, Schedule::weekly};

QString ageLabel(int days) {
  if (days % 30 == 0) return countOf(days / 30, "month", "months");
  if (days % 7 == 0) return countOf(days / 7, "week", "weeks");
  return countOf(days, "day", "days");
}

// The timer as it stands: what the choice did, or why nothing will start it.
QString stateText(const AppModel& model) {
  if (model.isApplyingSchedule()) return "Setting up the timer\u2026";
  const auto& state = model.scheduleState();
  if (model.schedule() == Schedule::off) {
    return "No scheduled scans. Tallyfin scans only when you press Scan Now, or run tallyfin in a terminal.";
  }
  if (!state) return "Looking at the timer\u2026";
  switch (state->kind) {
    case SchedulerState::Kind::scheduled:
      return "Scheduled: the timer is in place, and Tallyfin need not be open at that time.";
    case SchedulerState::Kind::needsApproval:
      return "The timer is registered but waits for your approval in the system settings.";
    case SchedulerState::Kind::off: break;
  }
  return "Not scheduled: " + qstr(state->reason.value_or("the system did not take the timer.")) +
         " Choose the schedule again once that is fixed.";
}

}  // namespace

const std::vector<int>& AutomationPanel::ages() {
  static const std::vector<int> days = {Autopilot::kFewestDays, 21, 30, 45, 60, Autopilot::kMostDays};
  return days;
}

AutomationPanel::AutomationPanel(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      schedule_(new QComboBox(this)),
      scheduleState_(textLine({}, this)),
      autopilot_(new QCheckBox("Move old Safe clutter to the Trash after each scheduled scan", this)),
      age_(new QComboBox(this)),
      preview_(textLine({}, this)),
      rows_(new ToolListModel({"Item", "Size", "Last used"}, this)),
      items_(new ToolList(rows_, "What Autopilot would move now", this)),
      filter_(items_->makeFilterBox("Find an item", "Find an item Autopilot would move", this)) {
  for (const Schedule schedule : kSchedules) schedule_->addItem(qstr(label(schedule)));
  schedule_->setAccessibleName("Scheduled scans");
  scheduleState_->setObjectName("scheduleState");
  scheduleState_->setAccessibleName("State of the scheduled scan's timer");
  autopilot_->setObjectName("autopilot");
  for (const int days : ages()) age_->addItem("Unused for " + ageLabel(days) + " (" + QString::number(days) + " days)");
  age_->setAccessibleName("How long an item must be unused before Autopilot moves it");
  preview_->setObjectName("autopilotPreview");
  preview_->setAccessibleName("What Autopilot would move now");
  items_->setRootIsDecorated(false);
  items_->sortByColumn(1, Qt::DescendingOrder);
  items_->fitRows(6);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->addWidget(sectionHeading("Scheduled scans", this));
  auto* scheduleRow = new QFormLayout;
  scheduleRow->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
  scheduleRow->addRow("Scan the disk:", schedule_);
  layout->addLayout(scheduleRow);
  layout->addWidget(scheduleState_);
  auto* autopilotTop = new QHBoxLayout;
  autopilotTop->addWidget(sectionHeading("Autopilot", this), 1);
  auto* help = new QPushButton("About Scheduled Scans and Autopilot", this);
  help->setAccessibleName("Open the help article on scheduled scans and Autopilot");
  connect(help, &QPushButton::clicked, this, [this] { model_.openHelp("scheduled-scans"); });
  autopilotTop->addWidget(help);
  layout->addLayout(autopilotTop);
  layout->addWidget(textLine("After each scheduled scan, Autopilot moves Safe suggestions nobody used for a while "
                             "to the Trash, as one batch you can undo. It never picks Review items, Downloads or "
                             "what you keep.",
                             this));
  layout->addWidget(autopilot_);
  auto* ageRow = new QFormLayout;
  ageRow->setFieldGrowthPolicy(QFormLayout::FieldsStayAtSizeHint);
  ageRow->addRow("Move items:", age_);
  layout->addLayout(ageRow);
  layout->addWidget(preview_);
  layout->addWidget(filter_);
  layout->addWidget(items_);

  connect(schedule_, &QComboBox::activated, this,
          [this](int index) { model_.setSchedule(kSchedules[static_cast<size_t>(index)]); });
  connect(autopilot_, &QCheckBox::toggled, this, [this](bool on) {
    AutopilotSettings settings = model_.autopilot();
    settings.enabled = on;
    model_.setAutopilot(settings);
  });
  connect(age_, &QComboBox::activated, this, [this](int index) {
    AutopilotSettings settings = model_.autopilot();
    settings.minAgeDays = ages()[static_cast<size_t>(index)];
    model_.setAutopilot(settings);
  });
  connect(&model_, &AppModel::settingsChanged, this, [this] {
    showSchedule();
    showAutopilot();
  });
  connect(&model_, &AppModel::systemStateChanged, this, &AutomationPanel::showSchedule);
  connect(&model_, &AppModel::cleanupChanged, this, &AutomationPanel::showAutopilot);
  connect(&model_, &AppModel::keepChanged, this, &AutomationPanel::showAutopilot);
  showSchedule();
  showAutopilot();
}

void AutomationPanel::showSchedule() {
  schedule_->setCurrentIndex(static_cast<int>(std::find(kSchedules.begin(), kSchedules.end(), model_.schedule()) -
                                              kSchedules.begin()));
  schedule_->setEnabled(!model_.isApplyingSchedule());
  scheduleState_->setText(stateText(model_));
  const auto& state = model_.scheduleState();
  const bool troubled = model_.schedule() != Schedule::off && !model_.isApplyingSchedule() && state &&
                        state->kind != SchedulerState::Kind::scheduled;
  tintText(scheduleState_, troubled ? warningColor(palette()) : palette().color(QPalette::WindowText));
}

void AutomationPanel::showAutopilot() {
  const AutopilotSettings& settings = model_.autopilot();
  {
    const QSignalBlocker quiet(autopilot_);
    autopilot_->setChecked(settings.enabled);
  }
  const auto& offered = ages();
  const auto at = std::find(offered.begin(), offered.end(), settings.minAgeDays);
  if (at == offered.end()) {
    // A number of days set from the command line that the list does not offer.
    if (age_->count() == static_cast<int>(offered.size())) age_->addItem({});
    age_->setItemText(age_->count() - 1, "Unused for " + QString::number(settings.minAgeDays) + " days");
    age_->setCurrentIndex(age_->count() - 1);
  } else {
    age_->setCurrentIndex(static_cast<int>(at - offered.begin()));
  }

  const double now = secondsSinceEpoch();
  std::vector<ToolListModel::Row> rows;
  int64_t total = 0;
  for (const CleanupItem& item : model_.autopilotPreview(settings, now)) {
    total = saturatingAdd(total, item.size);
    const auto used = item.lastUsed ? item.lastUsed : item.modified;
    rows.push_back({item.path,
                    {{qstr(item.title) + " \u2014 " + pathText(item.path, model_.home()), {}},
                     sizeCell(item.size),
                     ageCell(used, now)},
                    pathText(item.path, model_.home())});
  }
  const bool any = !rows.empty();
  items_->setRows(std::move(rows));
  items_->setVisible(any);
  filter_->setVisible(any);

  QString text;
  if (!model_.scanner().report()) {
    text = noReportText(model_);
  } else if (!any) {
    text = "Nothing in the last scan is Safe and unused for " + ageLabel(settings.minAgeDays) +
           ", so Autopilot would move nothing now.";
  } else {
    text = (settings.enabled ? "If it ran now, Autopilot would move " : "Turned on, Autopilot would now move ") +
           countOf(static_cast<int64_t>(items_->rows()->rows().size()), "item", "items") + ", " + bytesText(total) +
           ":";
  }
  if (settings.enabled && model_.schedule() == Schedule::off) {
    text += " Autopilot runs after scheduled scans, and none is set \u2014 choose a schedule above.";
  }
  preview_->setText(text);
}

}  // namespace tallyfin::app
