#include "app/views/ai_models_screen.h"

#include <QBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <set>

#include "app/model/app_model.h"
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

// What removing the extra copies frees, or that they share their blocks.
QString freesText(const ModelDuplicate& duplicate) {
  if (DuplicateFinder::freesNextToNothing(duplicate.fileSize, duplicate.wasted)) return "shares storage \u2014 ~0";
  return bytesText(duplicate.wasted);
}

}  // namespace

AIModelsScreen::AIModelsScreen(AppModel& model, QWidget* parent)
    : ToolScreen(model, ToolResults::Tool::aiModels, parent),
      state_(stateLine(this)),
      refresh_(new QPushButton("Refresh", this)),
      modelRows_(
          new ToolListModel({"Model", "Source", "Format", "Parameters", "Quantization", "Size", "Last used"}, this)),
      models_(new ToolList(modelRows_, "Local AI models", this)),
      filter_(models_->makeFilterBox("Find by name, source, format, quantization or file", "Find models", this)),
      title_(sectionHeading({}, this)),
      detail_(textLine({}, this)),
      command_(new CommandRow(model, "The tool's own command that removes the chosen model", this)),
      reveal_(new QPushButton("Show in Folder", this)),
      trash_(new QPushButton("Move to Trash\u2026", this)),
      twiceHeading_(sectionHeading("Weights stored twice", this)),
      twiceNote_(textLine({}, this)),
      twiceRows_(new ToolListModel({"Weight file", "Size", "Removing extras frees", "Where"}, this)),
      twice_(new ToolList(twiceRows_, "Weights stored more than once", this)) {
  refresh_->setAccessibleName("Look for models again");
  models_->setRootIsDecorated(false);
  models_->sortByColumn(5, Qt::DescendingOrder);  // biggest first
  twice_->sortByColumn(2, Qt::DescendingOrder);
  twice_->header()->setSectionResizeMode(3, QHeaderView::Stretch);
  detail_->setAccessibleName("Where the chosen model lives");
  reveal_->setAccessibleName("Show the chosen model in the file manager");
  trash_->setObjectName("trashModel");
  trash_->setAccessibleName("Move the chosen model's folder to the Trash");
  twiceNote_->setText(
      "Marked models share a weight file with another model. Removing one copy frees its "
      "bytes; copies that are clones share their blocks and free about nothing.");

  auto* top = new QHBoxLayout;
  top->addWidget(pageTitle("AI Models", this), 1);
  top->addWidget(refresh_);
  auto* buttons = new QHBoxLayout;
  buttons->addStretch(1);
  buttons->addWidget(reveal_);
  buttons->addWidget(trash_);

  auto* upper = new QWidget(this);
  auto* upperLayout = new QVBoxLayout(upper);
  upperLayout->setContentsMargins(0, 0, 0, 0);
  upperLayout->addWidget(filter_);
  upperLayout->addWidget(models_, 1);
  upperLayout->addWidget(title_);
  upperLayout->addWidget(detail_);
  upperLayout->addWidget(command_);
  upperLayout->addLayout(buttons);
  auto* lower = new QWidget(this);
  auto* lowerLayout = new QVBoxLayout(lower);
  lowerLayout->setContentsMargins(0, 0, 0, 0);
  lowerLayout->addWidget(twiceHeading_);
  lowerLayout->addWidget(twiceNote_);
  lowerLayout->addWidget(twice_, 1);
  QSplitter* split = listAboveDetails(upper, lower, this);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addLayout(top);
  layout->addWidget(state_);
  layout->addWidget(split, 1);

  connect(filter_, &QLineEdit::textChanged, twice_->sorted(), &QSortFilterProxyModel::setFilterFixedString);
  connect(refresh_, &QPushButton::clicked, this, [this] { model_.tools().load(ToolResults::Tool::aiModels); });
  connect(models_->selectionModel(), &QItemSelectionModel::currentChanged, this, &AIModelsScreen::showCurrent);
  connect(reveal_, &QPushButton::clicked, this, [this] {
    if (const AIModel* chosen = currentModel(); chosen && !chosen->files.empty()) {
      showInFolder(chosen->source == AIModel::Source::ollama ? chosen->files.front().path : chosen->path);
    }
  });
  connect(trash_, &QPushButton::clicked, this, &AIModelsScreen::confirmTrash);
  connect(&model_.trash(), &TrashCoordinator::trashingChanged, this, &AIModelsScreen::showCurrent);
  refresh();
}

const AIModel* AIModelsScreen::currentModel() const {
  const auto* row = models_->currentRow();
  const auto& inventory = model_.tools().aiModels;
  if (!row || !inventory) return nullptr;
  for (const auto& candidate : inventory->models) {
    if (candidate.path == row->key) return &candidate;
  }
  return nullptr;
}

void AIModelsScreen::refresh() {
  const auto& inventory = model_.tools().aiModels;
  const bool loading = model_.tools().isLoading(ToolResults::Tool::aiModels);
  refresh_->setEnabled(!loading);
  const auto removed = movedSinceResult();
  const double now = secondsSinceEpoch();

  std::vector<ToolListModel::Row> twice;
  std::set<std::string> twiceModels;
  int64_t wasted = 0;
  std::vector<ToolListModel::Row> models;
  int64_t total = 0;
  if (inventory) {
    for (const auto& duplicate : inventory->duplicates) {
      wasted = saturatingAdd(wasted, duplicate.wasted);
      const std::string file(lastComponent(duplicate.copies.front().path));
      ToolListModel::Row row{
          duplicate.fingerprint,
          {{qstr(file) + " \u00b7 " + countOf(static_cast<int64_t>(duplicate.copies.size()), "copy", "copies")},
           sizeCell(duplicate.fileSize),
           {freesText(duplicate), static_cast<qlonglong>(duplicate.wasted), true},
           {}}};
      for (const auto& copy : duplicate.copies) {
        twiceModels.insert(copy.modelID);
        QString name = pathText(copy.modelID, model_.home());
        for (const auto& candidate : inventory->models) {
          if (candidate.path == copy.modelID)
            name = qstr(candidate.name) + " (" + qstr(sourceName(candidate.source)) + ")";
        }
        row.children.push_back({copy.path, {{name}, {}, {}, {pathText(copy.path, model_.home())}}});
      }
      twice.push_back(std::move(row));
    }
    for (const auto& found : inventory->models) {
      if (removed.contains(found.path)) continue;
      total = saturatingAdd(total, found.size);
      ToolListModel::Row row{found.path,
                             {{qstr(found.name), {}},
                              {qstr(sourceName(found.source)), {}},
                              {qstr(found.format), {}},
                              textCell(found.parameters),
                              textCell(found.quantization),
                              sizeCell(found.size),
                              ageCell(found.lastUsed, now)},
                             pathText(found.path, model_.home())};
      row.marked = twiceModels.contains(found.path);
      models.push_back(std::move(row));
    }
  }
  const size_t modelCount = models.size();
  models_->setRows(std::move(models));
  const bool hasTwice = !twice.empty();
  twice_->setRows(std::move(twice));
  twiceHeading_->setText("Weights stored twice \u00b7 removing the extra copies frees " + bytesText(wasted));
  for (QWidget* part : std::initializer_list<QWidget*>{twiceHeading_, twiceNote_, twice_}) part->setVisible(hasTwice);

  if (!inventory) {
    state_->setText(loading ? "Looking through Ollama, LM Studio and the Hugging Face cache\u2026" : QString());
  } else if (modelCount == 0) {
    state_->setText(
        "No local models found in Ollama (~/.ollama/models), LM Studio (~/.lmstudio/models) or the "
        "Hugging Face cache (~/.cache/huggingface/hub).");
  } else {
    state_->setText(countOf(static_cast<int64_t>(modelCount), "model", "models") + " \u00b7 " + bytesText(total) +
                    " in all" + (hasTwice ? " \u00b7 " + bytesText(wasted) + " stored twice" : QString()));
  }
  showCurrent();
}

void AIModelsScreen::showCurrent() {
  const AIModel* chosen = currentModel();
  for (QWidget* part : std::initializer_list<QWidget*>{title_, detail_, reveal_, trash_}) part->setVisible(chosen);
  command_->setCommand(chosen ? chosen->command() : std::nullopt);
  if (!chosen) return;
  title_->setText(qstr(chosen->name) + " \u00b7 " + bytesText(chosen->size));
  const QString files = countOf(static_cast<int64_t>(chosen->files.size()), "weight file", "weight files");
  if (chosen->source == AIModel::Source::ollama) {
    detail_->setText(files +
                     " in Ollama's store. Ollama shares blobs between models, so its own command "
                     "removes a model safely \u2014 copy it below.");
  } else {
    detail_->setText(files + " in " + pathText(chosen->path, model_.home()) +
                     ". The whole folder can go to the Trash; Undo puts it back.");
  }
  trash_->setVisible(chosen->source != AIModel::Source::ollama);
  trash_->setEnabled(!model_.trash().isTrashing());
}

void AIModelsScreen::confirmTrash() {
  const AIModel* chosen = currentModel();
  if (!chosen || chosen->command()) return;
  TrashConfirmation::ask({{qstr(chosen->name), pathText(chosen->path, model_.home()), chosen->size}}, this,
                         [this, chosen = *chosen] { model_.trashModel(chosen); });
}

}  // namespace tallyfin::app
