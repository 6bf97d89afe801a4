#include "app/views/duplicates_screen.h"

#include <QBoxLayout>
#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QSpinBox>
#include <algorithm>

#include "app/model/app_model.h"
#include "app/model/off_main_thread.h"
#include "app/views/file_manager.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/tool_parts.h"
#include "app/views/trash_confirmation.h"
#include "kit/base/clock.h"
#include "kit/base/paths.h"
#include "kit/base/saturating.h"

namespace tallyfin::app {
namespace {

constexpr int kScanFiles = 0;  // the "Search in" entry of the last scan's big files

QString freesText(const DuplicateGroup& group) {
  return group.sharesStorage() ? QString("clone \u2014 frees ~0") : "frees " + bytesText(group.reclaimable());
}

}  // namespace

DuplicatesScreen::DuplicatesScreen(AppModel& model, QWidget* parent)
    : ToolScreen(model, ToolResults::Tool::duplicates, parent),
      where_(new QComboBox(this)),
      minimum_(new QSpinBox(this)),
      find_(new QPushButton("Find Duplicates", this)),
      cancel_(new QPushButton("Cancel", this)),
      progress_(new QProgressBar(this)),
      state_(stateLine(this)),
      keepOldest_(new QPushButton("Keep Oldest", this)),
      keepNewest_(new QPushButton("Keep Newest", this)),
      rows_(new ToolListModel({"File", "Size", "Modified", "Folder"}, this)),
      sets_(new ToolList(rows_, "Sets of identical files", this)),
      ticked_(new QLabel(this)),
      reveal_(new QPushButton("Show in Folder", this)),
      trash_(new QPushButton("Move Extra Copies to Trash\u2026", this)) {
  filter_ = sets_->makeFilterBox("Find by name or folder", "Find identical files", this);
  where_->setObjectName("searchIn");
  where_->setAccessibleName("Where to search");
  where_->addItem("The last scan's big files (100 MB and more)");
  where_->addItem("Choose a folder\u2026");
  minimum_->setObjectName("minimumSize");
  minimum_->setAccessibleName("Smallest file size to compare in a folder, in MB");
  minimum_->setRange(0, 1'000'000);
  minimum_->setValue(static_cast<int>(DuplicateFinder::kFolderMinimum / 1'000'000));
  minimum_->setSuffix(" MB");
  minimum_->setPrefix("at least ");
  find_->setObjectName("findDuplicates");
  find_->setAccessibleName("Find identical files");
  cancel_->setObjectName("cancelSearch");
  cancel_->setAccessibleName("Stop the search");
  progress_->setAccessibleName("How far the search is");
  progress_->setTextVisible(true);
  keepOldest_->setObjectName("keepOldest");
  keepOldest_->setAccessibleName("Keep the oldest copy of every set");
  keepNewest_->setObjectName("keepNewest");
  keepNewest_->setAccessibleName("Keep the newest copy of every set");
  ticked_->setObjectName("tickedCopies");
  ticked_->setAccessibleName("Copies ticked to move");
  reveal_->setAccessibleName("Show the chosen copy in the file manager");
  trash_->setObjectName("trashCopies");
  trash_->setAccessibleName("Move the ticked extra copies to the Trash");
  sets_->header()->setSectionResizeMode(3, QHeaderView::Stretch);
  // Biggest files first; a set's copies, all of one size, stay oldest first.
  sets_->sortByColumn(1, Qt::DescendingOrder);

  auto* searchRow = new QHBoxLayout;
  searchRow->addWidget(new QLabel("Search in", this));
  searchRow->addWidget(where_, 1);
  searchRow->addWidget(minimum_);
  searchRow->addWidget(find_);
  searchRow->addWidget(cancel_);
  auto* listRow = new QHBoxLayout;
  listRow->addWidget(filter_, 1);
  listRow->addWidget(keepOldest_);
  listRow->addWidget(keepNewest_);
  auto* actions = new QHBoxLayout;
  actions->addWidget(ticked_, 1);
  actions->addWidget(reveal_);
  actions->addWidget(trash_);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addWidget(pageTitle("Duplicates", this));
  layout->addLayout(searchRow);
  layout->addWidget(progress_);
  layout->addWidget(state_);
  layout->addLayout(listRow);
  layout->addWidget(sets_, 1);
  layout->addWidget(
      textLine("Ticked copies go; the unticked copy of each set stays. Each ticked copy is compared "
               "byte for byte with the one that stays right before it moves, and one that differs "
               "is left in place.",
               this));
  layout->addLayout(actions);

  // The usual folders, where they exist: listing them is disk work.
  offMainThread(
      this, [home = model_.home()] { return DuplicateFinder::suggestedFolders(home); },
      [this](std::vector<std::string> folders) {
        for (const auto& folder : folders) {
          where_->insertItem(where_->count() - 1, pathText(folder, model_.home()), qstr(folder));
        }
      });

  connect(where_, &QComboBox::activated, this, [this](int index) {
    if (index == where_->count() - 1) chooseFolder();
    minimum_->setEnabled(where_->currentIndex() != kScanFiles);
  });
  connect(find_, &QPushButton::clicked, this, [this] { search(); });
  connect(cancel_, &QPushButton::clicked, &model_.tools(), &ToolResults::cancelDuplicates);
  connect(&model_.tools(), &ToolResults::duplicateProgressChanged, this, &DuplicatesScreen::showProgress);
  connect(keepOldest_, &QPushButton::clicked, this, [this] { keep(true); });
  connect(keepNewest_, &QPushButton::clicked, this, [this] { keep(false); });
  connect(rows_, &ToolListModel::tickedChanged, this, &DuplicatesScreen::showTicked);
  connect(&model_.trash(), &TrashCoordinator::trashingChanged, this, &DuplicatesScreen::showTicked);
  connect(sets_->selectionModel(), &QItemSelectionModel::currentChanged, this, &DuplicatesScreen::showTicked);
  connect(reveal_, &QPushButton::clicked, this, [this] {
    if (const auto* row = sets_->currentRow(); row && row->children.empty()) showInFolder(row->key);
  });
  connect(trash_, &QPushButton::clicked, this, &DuplicatesScreen::confirmTrash);
  minimum_->setEnabled(false);
  refresh();
}

void DuplicatesScreen::chooseFolder() {
  const QString folder =
      QFileDialog::getExistingDirectory(this, "Search a folder for identical files", qstr(model_.home()));
  if (folder.isEmpty()) {
    where_->setCurrentIndex(kScanFiles);
    return;
  }
  const int at = where_->findData(folder);
  if (at >= 0) {
    where_->setCurrentIndex(at);
  } else {
    where_->insertItem(where_->count() - 1, pathText(folder.toStdString(), model_.home()), folder);
    where_->setCurrentIndex(where_->count() - 2);
  }
}

void DuplicatesScreen::search(std::optional<std::string> folder) {
  if (!folder && where_->currentIndex() != kScanFiles) {
    const QVariant chosen = where_->currentData();
    if (chosen.isValid()) folder = chosen.toString().toStdString();
  }
  model_.tools().findDuplicates(folder,
                                folder ? int64_t{minimum_->value()} * 1'000'000 : DuplicateFinder::kDefaultMinimum);
}

std::vector<DuplicateGroup> DuplicatesScreen::shownGroups() const {
  std::vector<DuplicateGroup> groups;
  const auto& found = model_.tools().duplicates;
  if (!found) return groups;
  const auto removed = movedSinceResult();
  for (DuplicateGroup group : found->groups) {
    std::erase_if(group.files, [&](const DuplicateGroup::File& file) { return removed.contains(file.path); });
    if (group.files.size() >= 2) groups.push_back(std::move(group));
  }
  return groups;
}

void DuplicatesScreen::refresh() {
  const auto& found = model_.tools().duplicates;
  const bool searching = model_.tools().isLoading(ToolResults::Tool::duplicates);
  const auto groups = shownGroups();
  const auto wasTicked = rows_->ticked();
  const double now = secondsSinceEpoch();
  std::vector<ToolListModel::Row> rows;
  int64_t reclaimable = 0;
  for (const auto& group : groups) {
    reclaimable = saturatingAdd(reclaimable, group.reclaimable());
    const auto copies = group.byAge();
    ToolListModel::Row row{
        group.hash,
        {{qstr(lastComponent(copies.front().path)) + " \u00b7 " +
              countOf(static_cast<int64_t>(copies.size()), "copy", "copies") + ", " + freesText(group),
          static_cast<qlonglong>(group.reclaimable())},
         sizeCell(group.size),
         {},
         {}},
        group.verified ? "Same full-content hash" : "Same hash of 50 samples"};
    row.keepsOne = true;
    for (size_t i = 0; i < copies.size(); ++i) {
      const auto& copy = copies[i];
      ToolListModel::Row child{copy.path,
                               {{qstr(lastComponent(copy.path)), {}},
                                sizeCell(group.size),
                                ageCell(copy.modified, now),
                                {pathText(parentPath(copy.path), model_.home()), {}}},
                               pathText(copy.path, model_.home())};
      child.ticked = seen_.contains(copy.path) ? wasTicked.contains(copy.path) : i > 0;
      row.children.push_back(std::move(child));
    }
    // The copy that stays may have gone elsewhere: then the oldest stays.
    auto& children = row.children;
    if (std::all_of(children.begin(), children.end(), [](const auto& child) { return *child.ticked; })) {
      children.front().ticked = false;
    }
    rows.push_back(std::move(row));
  }
  seen_.clear();
  for (const auto& row : rows) {
    for (const auto& child : row.children) seen_.insert(child.key);
  }
  sets_->setRows(std::move(rows));

  const QString where = found && found->folder ? " in " + pathText(*found->folder, model_.home())
                                               : QString(" among the last scan's big files");
  QString text;
  if (searching) {
    text = "Searching" + where + "\u2026";
  } else if (const auto& message = model_.tools().duplicateMessage()) {
    text = qstr(*message);
  } else if (!found) {
    text = model_.scanner().report() ? "Press Find Duplicates to compare the last scan's big files, or choose a "
                                       "folder to search."
                                     : noReportText(model_) + " Or choose a folder to search.";
  }
  if (found && !searching) {
    const QString floor = bytesText(found->minimum);
    const QString summary = groups.empty()
                                ? "No identical files of " + floor + " or more" + where + "."
                                : countOf(static_cast<int64_t>(groups.size()), "set", "sets") + " of identical files" +
                                      where + "; removing the extra copies frees " + bytesText(reclaimable) + ".";
    text = text.isEmpty() ? summary : text + " " + summary;
    if (found->truncated) text += " " + qstr(AgentJson::kTruncatedNote);
  }
  state_->setText(text);
  keepOldest_->setEnabled(!groups.empty());
  keepNewest_->setEnabled(!groups.empty());
  showProgress();
  showTicked();
}

void DuplicatesScreen::showProgress() {
  const bool searching = model_.tools().isLoading(ToolResults::Tool::duplicates);
  find_->setEnabled(!searching);
  where_->setEnabled(!searching);
  cancel_->setVisible(searching);
  progress_->setVisible(searching);
  const auto& progress = model_.tools().duplicateProgress();
  if (!progress) return;
  if (progress->listedFiles) {
    progress_->setRange(0, 0);  // listing: how much there is is not known yet
    progress_->setFormat("Listing: " + countOf(*progress->listedFiles, "file", "files"));
    return;
  }
  const int64_t total = std::max<int64_t>(progress->totalBytes, 1);
  progress_->setRange(0, 1'000);
  progress_->setValue(static_cast<int>(std::clamp<int64_t>(progress->hashedBytes * 1'000 / total, 0, 1'000)));
  progress_->setFormat("Comparing: " + bytesText(progress->hashedBytes) + " of " + bytesText(progress->totalBytes) +
                       " read");
}

void DuplicatesScreen::keep(bool oldest) {
  auto rows = rows_->rows();
  for (auto& row : rows) {
    // The copies are listed oldest first.
    const size_t stays = oldest ? 0 : row.children.size() - 1;
    for (size_t i = 0; i < row.children.size(); ++i) row.children[i].ticked = i != stays;
  }
  sets_->setRows(std::move(rows));
}

void DuplicatesScreen::showTicked() {
  const auto ticked = rows_->ticked();
  int64_t frees = 0;
  for (const auto& group : shownGroups()) {
    for (const auto& file : group.files) {
      if (ticked.contains(file.path)) frees = saturatingAdd(frees, file.privateSize);
    }
  }
  ticked_->setText(ticked.empty() ? QString("Tick the extra copies to move them to the Trash.")
                                  : countOf(static_cast<int64_t>(ticked.size()), "copy", "copies") +
                                        " ticked \u00b7 frees " + bytesText(frees));
  trash_->setEnabled(!ticked.empty() && !model_.trash().isTrashing() &&
                     !model_.tools().isLoading(ToolResults::Tool::duplicates));
  const auto* current = sets_->currentRow();
  reveal_->setEnabled(current && current->children.empty());
}

void DuplicatesScreen::confirmTrash() {
  const auto ticked = rows_->ticked();
  std::vector<AppModel::DuplicateRemoval> removals;
  std::vector<TrashConfirmation::Entry> entries;
  for (const auto& group : shownGroups()) {
    AppModel::DuplicateRemoval removal;
    for (const auto& file : group.byAge()) {
      if (!ticked.contains(file.path)) {
        if (removal.keeper.empty()) removal.keeper = file.path;
        continue;
      }
      removal.extras.push_back(file);
      entries.push_back(
          {qstr(lastComponent(file.path)), pathText(parentPath(file.path), model_.home()), file.privateSize});
    }
    if (!removal.extras.empty() && !removal.keeper.empty()) removals.push_back(std::move(removal));
  }
  if (removals.empty()) return;
  TrashConfirmation::ask(entries, this, [this, removals] { model_.trashDuplicates(removals); });
}

}  // namespace tallyfin::app
