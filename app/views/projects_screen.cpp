#include "app/views/projects_screen.h"

#include <QBoxLayout>
#include <QCheckBox>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "app/model/app_model.h"
#include "app/views/file_manager.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/tool_parts.h"
#include "app/views/trash_confirmation.h"
#include "kit/base/clock.h"
#include "kit/base/paths.h"
#include "kit/base/saturating.h"
#include "kit/cleanup/keep_list.h"

namespace tallyfin::app {
namespace {

ToolListModel::Cell lastCommitCell(const std::optional<DevProject::Git>& git) {
  if (!git || !git->lastCommit) return {QString::fromUtf8("\u2014"), static_cast<qlonglong>(0)};
  return {dayText(static_cast<double>(*git->lastCommit)), static_cast<qlonglong>(*git->lastCommit)};
}

QString changesText(const std::optional<DevProject::Git>& git) {
  if (!git || !git->dirty) return QString::fromUtf8("\u2014");
  return *git->dirty ? "Uncommitted changes" : "Committed";
}

}  // namespace

QString periodText(int days) {
  if (days % 365 == 0) return countOf(days / 365, "year", "years");
  if (days % 30 == 0) return countOf(days / 30, "month", "months");
  return countOf(days, "day", "days");
}

ProjectsScreen::ProjectsScreen(AppModel& model, QWidget* parent)
    : ToolScreen(model, ToolResults::Tool::projects, parent),
      state_(stateLine(this)),
      refresh_(new QPushButton("Refresh", this)),
      staleOnly_(new QCheckBox("Stale only", this)),
      stalePeriod_(new QComboBox(this)),
      rows_(new ToolListModel({"Project", "Clutter", "Branch", "Last commit", "Last activity", "Git", "Folder"}, this)),
      projects_(new ToolList(rows_, "Projects and their clutter", this)),
      ticked_(new QLabel(this)),
      reveal_(new QPushButton("Show in Folder", this)),
      trash_(new QPushButton("Move to Trash\u2026", this)) {
  filter_ = projects_->makeFilterBox("Find by project, branch or folder", "Find projects", this);
  refresh_->setAccessibleName("Read the projects' git state again");
  staleOnly_->setObjectName("staleOnly");
  staleOnly_->setAccessibleName("Show only projects untouched for longer than the period");
  stalePeriod_->setObjectName("stalePeriod");
  stalePeriod_->setAccessibleName("Untouched for how long counts as stale");
  ticked_->setObjectName("tickedClutter");
  ticked_->setAccessibleName("Ticked clutter");
  reveal_->setAccessibleName("Show the chosen project or folder in the file manager");
  trash_->setObjectName("trashClutter");
  trash_->setAccessibleName("Move the ticked clutter to the Trash");
  projects_->header()->setSectionResizeMode(6, QHeaderView::Stretch);
  projects_->sortByColumn(1, Qt::DescendingOrder);  // most clutter first

  auto* top = new QHBoxLayout;
  top->addWidget(pageTitle("Projects", this), 1);
  top->addWidget(refresh_);
  auto* filters = new QHBoxLayout;
  filters->addWidget(filter_, 1);
  filters->addWidget(staleOnly_);
  filters->addWidget(new QLabel("Stale after", this));
  filters->addWidget(stalePeriod_);
  auto* actions = new QHBoxLayout;
  actions->addWidget(ticked_, 1);
  actions->addWidget(reveal_);
  actions->addWidget(trash_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addLayout(top);
  layout->addWidget(state_);
  layout->addLayout(filters);
  layout->addWidget(projects_, 1);
  layout->addWidget(
      textLine("Only rebuildable folders (dependencies, build output, caches) are listed and "
               "moved \u2014 never source code or git history. Git is never run: its files are read.",
               this));
  layout->addLayout(actions);

  connect(refresh_, &QPushButton::clicked, this, [this] { model_.tools().load(ToolResults::Tool::projects); });
  connect(staleOnly_, &QCheckBox::toggled, this,
          [this](bool only) { model_.setProjectsStale(only, model_.projectsStaleDays()); });
  connect(stalePeriod_, &QComboBox::activated, this, [this](int index) {
    model_.setProjectsStale(model_.projectsStaleOnly(), stalePeriod_->itemData(index).toInt());
  });
  connect(&model_, &AppModel::projectsFilterChanged, this, &ProjectsScreen::refresh);
  connect(rows_, &ToolListModel::tickedChanged, this, &ProjectsScreen::showTicked);
  connect(&model_.trash(), &TrashCoordinator::trashingChanged, this, &ProjectsScreen::showTicked);
  connect(projects_->selectionModel(), &QItemSelectionModel::currentChanged, this,
          [this] { reveal_->setEnabled(projects_->currentRow() != nullptr); });
  connect(reveal_, &QPushButton::clicked, this, [this] {
    if (const auto* row = projects_->currentRow()) showInFolder(row->key);
  });
  connect(trash_, &QPushButton::clicked, this, &ProjectsScreen::confirmTrash);
  refresh();
}

void ProjectsScreen::showFilter() {
  const QSignalBlocker quiet(staleOnly_);
  const QSignalBlocker quietToo(stalePeriod_);
  staleOnly_->setChecked(model_.projectsStaleOnly());
  stalePeriod_->clear();
  const int chosen = model_.projectsStaleDays();
  bool offered = false;
  for (const int days : kStalePeriods) {
    stalePeriod_->addItem(periodText(days), days);
    offered = offered || days == chosen;
  }
  if (!offered) stalePeriod_->addItem(periodText(chosen), chosen);
  stalePeriod_->setCurrentIndex(stalePeriod_->findData(chosen));
}

void ProjectsScreen::refresh() {
  showFilter();
  const auto& loaded = model_.tools().projects;
  const bool loading = model_.tools().isLoading(ToolResults::Tool::projects);
  refresh_->setEnabled(!loading && model_.scanner().report());
  const HiddenPaths hidden{{model_.keep().begin(), model_.keep().end()},
                           {model_.trash().removed().begin(), model_.trash().removed().end()}};
  const auto projects = loaded ? ProjectScanner::remaining(*loaded, hidden) : std::vector<DevProject>{};
  const double now = secondsSinceEpoch();
  const int days = model_.projectsStaleDays();
  const auto wasTicked = rows_->ticked();

  std::vector<ToolListModel::Row> rows;
  int64_t clutter = 0;
  size_t stale = 0;
  for (const auto& project : projects) {
    const bool isStale = project.isStale(now, days);
    stale += isStale ? 1 : 0;
    if (model_.projectsStaleOnly() && !isStale) continue;
    clutter = saturatingAdd(clutter, project.clutterSize);
    const auto& git = project.git;
    ToolListModel::Row row{project.path,
                           {{qstr(project.name), {}},
                            sizeCell(project.clutterSize),
                            git ? textCell(git->branch) : ToolListModel::Cell{"not a git project", {}},
                            lastCommitCell(git),
                            ageCell(project.lastActivity, now),
                            {changesText(git), {}},
                            {pathText(project.path, model_.home()), {}}}};
    for (const auto& item : project.clutter) {
      // The folder's own name says what it is to a developer ("node_modules", "target").
      ToolListModel::Row child{item.path,
                               {{qstr(lastComponent(item.path)), {}},
                                sizeCell(item.size),
                                {},
                                {},
                                ageCell(item.modified, now),
                                {},
                                {pathText(item.path, model_.home()), {}}},
                               qstr(item.title) + "\n" + qstr(item.detail)};
      if (item.trashable) child.ticked = wasTicked.contains(item.path);
      row.children.push_back(std::move(child));
    }
    rows.push_back(std::move(row));
  }
  const size_t shown = rows.size();
  projects_->setRows(std::move(rows));

  if (!model_.scanner().report()) {
    state_->setText(noReportText(model_));
  } else if (!loaded) {
    state_->setText(loading ? "Reading the projects' git state\u2026" : QString());
  } else if (projects.empty()) {
    state_->setText("No project carries rebuildable clutter in the last scan.");
  } else if (shown == 0) {
    state_->setText("No project has been untouched for longer than " + periodText(days) +
                    ". Untick Stale only to see all " +
                    countOf(static_cast<int64_t>(projects.size()), "project", "projects") + ".");
  } else {
    state_->setText(countOf(static_cast<int64_t>(shown), "project", "projects") + " \u00b7 " + bytesText(clutter) +
                    " of clutter \u00b7 " + countText(static_cast<int64_t>(stale)) + " untouched for more than " +
                    periodText(days));
  }
  reveal_->setEnabled(projects_->currentRow() != nullptr);
  showTicked();
}

std::vector<CleanupItem> ProjectsScreen::tickedItems() const {
  const auto ticked = rows_->ticked();
  std::vector<CleanupItem> items;
  for (const auto& item : model_.cleanup()) {
    if (ticked.contains(item.path)) items.push_back(item);
  }
  // A folder ticked with its own contents moves once.
  return outermostItems(std::move(items));
}

void ProjectsScreen::showTicked() {
  const auto items = tickedItems();
  int64_t bytes = 0;
  for (const auto& item : items) bytes = saturatingAdd(bytes, item.size);
  ticked_->setText(items.empty() ? QString("Tick clutter to move it to the Trash.")
                                 : countOf(static_cast<int64_t>(items.size()), "folder", "folders") +
                                       " ticked \u00b7 " + bytesText(bytes));
  trash_->setEnabled(!items.empty() && !model_.trash().isTrashing());
}

void ProjectsScreen::confirmTrash() {
  std::vector<TrashConfirmation::Entry> entries;
  std::set<std::string> paths;
  for (const auto& item : tickedItems()) {
    entries.push_back({qstr(item.title), pathText(item.path, model_.home()), item.size});
    paths.insert(item.path);
  }
  if (entries.empty()) return;
  TrashConfirmation::ask(entries, this, [this, paths] { model_.trashClutter(paths); });
}

}  // namespace tallyfin::app
