#include "app/views/apps_screen.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>

#include "app/model/app_model.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/tool_parts.h"
#include "app/views/trash_confirmation.h"
#include "kit/base/clock.h"
#include "kit/base/paths.h"
#include "kit/base/saturating.h"

namespace tallyfin::app {
namespace {

const std::string kFlatpakKey = "flatpak:";

QString noteOf(const AppLeftover& leftover) {
  if (leftover.mayHoldDocuments) return "May hold your documents";
  if (leftover.matchedByName) return "Matched by name only";
  return {};
}

ToolListModel::Row leftoverRow(const AppLeftover& leftover, bool ticked, const std::string& home) {
  ToolListModel::Row row{leftover.path,
                         {{qstr(lastComponent(leftover.path)), {}},
                          {qstr(AppUninstaller::title(leftover.kind)), {}},
                          sizeCell(leftover.size),
                          {noteOf(leftover), {}}},
                         pathText(leftover.path, home)};
  row.ticked = ticked;
  return row;
}

// The chosen leftovers among `all`.
std::vector<AppLeftover> chosenOf(const std::vector<AppLeftover>& all, const std::set<std::string>& ticked) {
  std::vector<AppLeftover> chosen;
  for (const auto& leftover : all) {
    if (ticked.contains(leftover.path)) chosen.push_back(leftover);
  }
  return chosen;
}

}  // namespace

AppsScreen::AppsScreen(AppModel& model, QWidget* parent)
    : ToolScreen(model, ToolResults::Tool::apps, parent),
      state_(stateLine(this)),
      refresh_(new QPushButton("Refresh", this)),
      appRows_(new ToolListModel({"App", "Version", "Size", "Last opened", "Kind", "Removal"}, this)),
      apps_(new ToolList(appRows_, "Installed apps", this)),
      filter_(apps_->makeFilterBox("Find apps and leftovers by name, kind or version", "Find apps", this)),
      title_(sectionHeading({}, this)),
      detail_(textLine({}, this)),
      command_(new CommandRow(model, "The package manager's command that removes the chosen app", this)),
      leftoverRows_(new ToolListModel({"What it keeps", "Kind", "Size", "Note"}, this)),
      leftovers_(new ToolList(leftoverRows_, "What the chosen app keeps in your Library", this)),
      uninstall_(new QPushButton("Uninstall\u2026", this)),
      removedHeading_(sectionHeading("Leftovers of Removed Apps", this)),
      removedRows_(new ToolListModel({"What it keeps", "Kind", "Size", "Note"}, this)),
      removed_(new ToolList(removedRows_, "Leftovers of removed apps", this)),
      removedTicked_(new QLabel(this)),
      removeLeftovers_(new QPushButton("Move Leftovers to Trash\u2026", this)) {
  refresh_->setAccessibleName("Look for apps again");
  apps_->setRootIsDecorated(false);
  leftovers_->setRootIsDecorated(false);
  apps_->sortByColumn(2, Qt::DescendingOrder);  // biggest first
  removed_->sortByColumn(2, Qt::DescendingOrder);
  detail_->setObjectName("appDetail");
  detail_->setAccessibleName("About the chosen app");
  uninstall_->setObjectName("uninstall");
  uninstall_->setAccessibleName("Move the chosen app and its ticked leftovers to the Trash");
  removedTicked_->setAccessibleName("Ticked leftovers of removed apps");
  removeLeftovers_->setObjectName("removeLeftovers");
  removeLeftovers_->setAccessibleName("Move the ticked leftovers of removed apps to the Trash");

  auto* top = new QHBoxLayout;
  top->addWidget(pageTitle("Apps", this), 1);
  top->addWidget(refresh_);

  auto* upper = new QWidget(this);
  auto* upperLayout = new QVBoxLayout(upper);
  upperLayout->setContentsMargins(0, 0, 0, 0);
  upperLayout->addWidget(filter_);
  upperLayout->addWidget(apps_, 3);
  upperLayout->addWidget(title_);
  upperLayout->addWidget(detail_);
  upperLayout->addWidget(command_);
  upperLayout->addWidget(leftovers_, 2);
  auto* uninstallRow = new QHBoxLayout;
  uninstallRow->addStretch(1);
  uninstallRow->addWidget(uninstall_);
  upperLayout->addLayout(uninstallRow);

  auto* lower = new QWidget(this);
  auto* lowerLayout = new QVBoxLayout(lower);
  lowerLayout->setContentsMargins(0, 0, 0, 0);
  lowerLayout->addWidget(removedHeading_);
  lowerLayout->addWidget(
      textLine("Folders and settings named for apps that are no longer installed and unchanged for "
               "two weeks. Nothing is ticked for you.",
               lower));
  lowerLayout->addWidget(removed_, 1);
  auto* removedRow = new QHBoxLayout;
  removedRow->addWidget(removedTicked_, 1);
  removedRow->addWidget(removeLeftovers_);
  lowerLayout->addLayout(removedRow);

  QSplitter* split = listAboveDetails(upper, lower, this);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addLayout(top);
  layout->addWidget(state_);
  layout->addWidget(split, 1);

  connect(filter_, &QLineEdit::textChanged, removed_->sorted(), &QSortFilterProxyModel::setFilterFixedString);
  connect(refresh_, &QPushButton::clicked, this, [this] { model_.tools().load(ToolResults::Tool::apps); });
  connect(apps_->selectionModel(), &QItemSelectionModel::currentChanged, this, &AppsScreen::showCurrent);
  connect(leftoverRows_, &ToolListModel::tickedChanged, this, &AppsScreen::showTicked);
  connect(removedRows_, &ToolListModel::tickedChanged, this, &AppsScreen::showTicked);
  connect(&model_.trash(), &TrashCoordinator::trashingChanged, this, &AppsScreen::showTicked);
  connect(uninstall_, &QPushButton::clicked, this, &AppsScreen::confirmUninstall);
  connect(removeLeftovers_, &QPushButton::clicked, this, &AppsScreen::confirmLeftovers);
  refresh();
}

const InstalledApp* AppsScreen::currentApp() const {
  const auto* row = apps_->currentRow();
  const auto& apps = model_.tools().apps;
  if (!row || !apps) return nullptr;
  for (const auto& app : apps->inventory.apps) {
    if (app.path == row->key) return &app;
  }
  return nullptr;
}

const FlatpakApp* AppsScreen::currentFlatpak() const {
  const auto* row = apps_->currentRow();
  const auto& apps = model_.tools().apps;
  if (!row || !apps || !apps->inventory.flatpak) return nullptr;
  for (const auto& app : *apps->inventory.flatpak) {
    if (kFlatpakKey + app.id == row->key) return &app;
  }
  return nullptr;
}

void AppsScreen::refresh() {
  const auto& apps = model_.tools().apps;
  const bool loading = model_.tools().isLoading(ToolResults::Tool::apps);
  refresh_->setEnabled(!loading);
  const auto removed = movedSinceResult();
  const double now = secondsSinceEpoch();

  std::vector<ToolListModel::Row> rows;
  int64_t total = 0;
  size_t flatpaks = 0;
  if (apps) {
    for (const auto& app : apps->inventory.apps) {
      if (removed.contains(app.path)) continue;
      total = saturatingAdd(total, app.size);
      rows.push_back({app.path,
                      {{qstr(app.name), {}},
                       textCell(app.version),
                       sizeCell(app.size),
                       ageCell(app.lastUsed, now),
                       {app.fromAppStore ? "App Store app" : "App", {}},
                       {app.refusal ? qstr(*app.refusal) : QString("To the Trash"), {}}},
                      pathText(app.path, model_.home())});
    }
    for (const auto& app : apps->inventory.flatpak.value_or(std::vector<FlatpakApp>{})) {
      ++flatpaks;
      total = saturatingAdd(total, app.size);
      rows.push_back({kFlatpakKey + app.id,
                      {{qstr(app.name), {}},
                       textCell(app.version),
                       sizeCell(app.size),
                       ageCell(std::nullopt, now),
                       {"Flatpak", {}},
                       {"With flatpak's command", {}}},
                      qstr(app.id)});
    }
  }
  const size_t count = rows.size();
  apps_->setRows(std::move(rows));

  const auto wasTicked = removedRows_->ticked();
  std::vector<ToolListModel::Row> groups;
  int64_t leftBehind = 0;
  if (apps) {
    for (const auto& group : apps->inventory.removed) {
      ToolListModel::Row row{group.bundleID, {}, qstr(group.bundleID)};
      int64_t size = 0;
      for (const auto& leftover : group.leftovers) {
        if (removed.contains(leftover.path)) continue;
        size = saturatingAdd(size, leftover.size);
        row.children.push_back(leftoverRow(leftover, wasTicked.contains(leftover.path), model_.home()));
      }
      if (row.children.empty()) continue;
      leftBehind = saturatingAdd(leftBehind, size);
      row.cells = {
          {qstr(group.displayName()) + " (" + qstr(group.bundleID) + ")", {}},
          {countOf(static_cast<int64_t>(row.children.size()), "item", "items")},
          sizeCell(size),
          {"Last changed " + ageCell(group.lastModified, now).text, static_cast<qlonglong>(group.lastModified)}};
      groups.push_back(std::move(row));
    }
  }
  const bool anyRemoved = !groups.empty();
  removed_->setRows(std::move(groups));
  removedHeading_->setText("Leftovers of Removed Apps \u00b7 " + bytesText(leftBehind));

  if (!apps) {
    state_->setText(loading ? "Looking for apps\u2026" : QString());
  } else if (count == 0 && !anyRemoved) {
    state_->setText(apps->inventory.flatpak ? "No apps in /Applications or ~/Applications and no Flatpak apps."
                                            : "No apps in /Applications or ~/Applications, and flatpak isn't "
                                              "installed to ask. Apps of the system's package manager are "
                                              "removed with it (sudo apt remove NAME).");
  } else {
    state_->setText(countOf(static_cast<int64_t>(count), "app", "apps") + " \u00b7 " + bytesText(total) +
                    (flatpaks > 0 ? " \u00b7 " + countOf(static_cast<int64_t>(flatpaks), "Flatpak app", "Flatpak apps")
                                  : QString()) +
                    ". Apps of the system's package manager are removed with it (sudo apt remove NAME).");
  }
  showCurrent();
}

void AppsScreen::showCurrent() {
  const InstalledApp* app = currentApp();
  const FlatpakApp* flatpak = app ? nullptr : currentFlatpak();
  title_->setVisible(app || flatpak);
  detail_->setVisible(app || flatpak);
  command_->setCommand(flatpak ? std::optional(flatpak->command()) : std::nullopt);
  // A leftover shown before keeps the user's tick; a new one starts as it should.
  const auto wasTicked = leftoverRows_->ticked();
  std::set<std::string> shown;
  for (const auto& row : leftoverRows_->rows()) shown.insert(row.key);
  std::vector<ToolListModel::Row> rows;
  if (app && !app->refusal && model_.tools().apps) {
    const auto removed = movedSinceResult();
    const auto found = model_.tools().apps->leftovers.find(app->path);
    if (found != model_.tools().apps->leftovers.end()) {
      for (const auto& leftover : found->second) {
        if (removed.contains(leftover.path)) continue;
        const bool ticked =
            shown.contains(leftover.path) ? wasTicked.contains(leftover.path) : leftover.tickedByDefault();
        rows.push_back(leftoverRow(leftover, ticked, model_.home()));
      }
    }
  }
  const size_t leftovers = rows.size();
  leftoverRows_->setRows(std::move(rows));
  leftovers_->setVisible(leftovers > 0);
  uninstall_->setVisible(app && !app->refusal);
  if (app) {
    title_->setText(qstr(app->name) + (app->version ? " " + qstr(*app->version) : QString()) + " \u00b7 " +
                    bytesText(app->size));
    if (app->refusal) {
      detail_->setText("Can't be removed here: " + qstr(*app->refusal) + ".");
    } else {
      detail_->setText(leftovers == 0 ? "It keeps nothing in your Library. Uninstall moves the app to the Trash."
                                      : "Uninstall moves the app and the ticked items below to the Trash as one "
                                        "batch. Items that may hold your documents, or matched by name only, "
                                        "stay unless you tick them.");
    }
  } else if (flatpak) {
    title_->setText(qstr(flatpak->name) + (flatpak->version ? " " + qstr(*flatpak->version) : QString()) + " \u00b7 " +
                    bytesText(flatpak->size));
    detail_->setText("Flatpak installed it and removes it, with its data in ~/.var/app. Copy its command:");
  }
  showTicked();
}

void AppsScreen::showTicked() {
  const bool busy = model_.trash().isTrashing();
  uninstall_->setEnabled(!busy && currentApp() != nullptr);
  const auto ticked = removedRows_->ticked();
  int64_t bytes = 0;
  for (const auto& group : removedRows_->rows()) {
    for (const auto& child : group.children) {
      if (ticked.contains(child.key)) bytes = saturatingAdd(bytes, child.cells[2].sortKey.toLongLong());
    }
  }
  removedTicked_->setText(ticked.empty() ? QString("Tick leftovers to move them to the Trash.")
                                         : countOf(static_cast<int64_t>(ticked.size()), "item", "items") +
                                               " ticked \u00b7 " + bytesText(bytes));
  removeLeftovers_->setEnabled(!busy && !ticked.empty());
}

void AppsScreen::confirmUninstall() {
  const InstalledApp* app = currentApp();
  if (!app || !model_.tools().apps) return;
  const auto found = model_.tools().apps->leftovers.find(app->path);
  const auto chosen = found == model_.tools().apps->leftovers.end() ? std::vector<AppLeftover>{}
                                                                    : chosenOf(found->second, leftoverRows_->ticked());
  std::vector<TrashConfirmation::Entry> entries{{qstr(app->name), pathText(app->path, model_.home()), app->size}};
  for (const auto& leftover : chosen) {
    entries.push_back(
        {qstr(AppUninstaller::title(leftover.kind)), pathText(leftover.path, model_.home()), leftover.size});
  }
  TrashConfirmation::ask(entries, this, [this, app = *app, chosen] { model_.uninstall(app, chosen); });
}

void AppsScreen::confirmLeftovers() {
  if (!model_.tools().apps) return;
  const auto ticked = removedRows_->ticked();
  std::vector<std::pair<OrphanGroup, std::vector<AppLeftover>>> chosen;
  std::vector<TrashConfirmation::Entry> entries;
  for (const auto& group : model_.tools().apps->inventory.removed) {
    auto leftovers = chosenOf(group.leftovers, ticked);
    if (leftovers.empty()) continue;
    for (const auto& leftover : leftovers) {
      entries.push_back({qstr(group.displayName()) + ": " + qstr(AppUninstaller::title(leftover.kind)),
                         pathText(leftover.path, model_.home()), leftover.size});
    }
    chosen.emplace_back(group, std::move(leftovers));
  }
  if (chosen.empty()) return;
  TrashConfirmation::ask(entries, this, [this, chosen] { model_.removeLeftovers(chosen); });
}

}  // namespace tallyfin::app
