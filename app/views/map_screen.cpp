#include "app/views/map_screen.h"

#include <QBoxLayout>
#include <QButtonGroup>
#include <QClipboard>
#include <QComboBox>
#include <QGuiApplication>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QPushButton>
#include <QSortFilterProxyModel>
#include <QSplitter>
#include <QStandardItemModel>
#include <QToolButton>

#include "app/model/app_model.h"
#include "app/views/file_manager.h"
#include "app/views/map_canvas.h"
#include "app/views/map_text.h"
#include "app/views/screen_parts.h"
#include "app/views/text.h"
#include "app/views/trash_confirmation.h"
#include "kit/base/paths.h"

namespace tallyfin::app {
namespace {

constexpr int kRecommendationRole = Qt::UserRole + 1;
constexpr MapKind kKinds[] = {MapKind::sunburst, MapKind::treemap, MapKind::city};

void clear(QHBoxLayout* row) {
  while (QLayoutItem* item = row->takeAt(0)) {
    delete item->widget();
    delete item;
  }
}

}  // namespace

MapScreen::MapScreen(AppModel& model, QWidget* parent)
    : QWidget(parent),
      model_(model),
      kinds_(new QButtonGroup(this)),
      colors_(new QComboBox(this)),
      trail_(new QHBoxLayout),
      zoomOut_(new QPushButton("Zoom Out", this)),
      canvas_(new MapCanvas(model.map(), this)),
      folderState_(textLine({}, this)),
      listLive_(new QPushButton("List Folder Now", this)),
      itemLine_(textLine({}, this)),
      legend_(new QLabel(this)),
      filter_(new QLineEdit(this)),
      advice_(new QStandardItemModel(this)),
      shownAdvice_(new QSortFilterProxyModel(this)),
      adviceList_(new QListView(this)),
      adviceState_(textLine({}, this)),
      showOnMap_(new QPushButton("Show on Map", this)),
      reviewItems_(new QPushButton("Tick in Cleanup", this)) {
  MapModel& map = model_.map();
  auto* kindRow = new QHBoxLayout;
  kindRow->setSpacing(0);
  for (const MapKind kind : kKinds) {
    auto* button = new QPushButton("&" + qstr(label(kind)), this);
    button->setCheckable(true);
    button->setObjectName(qstr(label(kind)).toLower());
    button->setAccessibleName("Draw the map as a " + qstr(label(kind)).toLower());
    kinds_->addButton(button, static_cast<int>(kind));
    kindRow->addWidget(button);
  }
  kinds_->button(static_cast<int>(map.kind()))->setChecked(true);
  colors_->addItems({"Colour by file kind", "Colour by age"});
  colors_->setObjectName("mapColors");
  colors_->setAccessibleName("What the colours show");
  zoomOut_->setObjectName("zoomOut");
  zoomOut_->setAccessibleName("Zoom out to the folder above (Backspace)");
  zoomOut_->setToolTip("Backspace");

  auto* toolbar = new QHBoxLayout;
  toolbar->addLayout(kindRow);
  toolbar->addSpacing(12);
  toolbar->addWidget(colors_);
  toolbar->addStretch(1);
  toolbar->addWidget(zoomOut_);

  trail_->setSpacing(2);
  auto* trailRow = new QWidget(this);
  trailRow->setAccessibleName("Folders zoomed into");
  trailRow->setLayout(trail_);
  trail_->setContentsMargins(0, 0, 0, 0);

  folderState_->setObjectName("folderState");
  folderState_->setAccessibleName("What the scan kept of this folder");
  listLive_->setObjectName("listLive");
  listLive_->setAccessibleName("List this folder now, as it is on disk");
  itemLine_->setObjectName("mapItem");
  itemLine_->setAccessibleName("The item under the mouse or the cursor");
  legend_->setObjectName("mapLegend");
  legend_->setAccessibleName("What the colours mean");
  legend_->setWordWrap(true);
  legend_->setTextFormat(Qt::RichText);

  auto* folderRow = new QHBoxLayout;
  folderRow->addWidget(folderState_, 1);
  folderRow->addWidget(listLive_);

  auto* mapSide = new QWidget(this);
  auto* mapLayout = new QVBoxLayout(mapSide);
  mapLayout->setContentsMargins(0, 0, 0, 0);
  mapLayout->addWidget(trailRow);
  mapLayout->addWidget(canvas_, 1);
  mapLayout->addLayout(folderRow);
  mapLayout->addWidget(itemLine_);
  mapLayout->addWidget(legend_);

  filter_->setPlaceholderText("Find in the recommendations");
  filter_->setClearButtonEnabled(true);
  filter_->setAccessibleName("Find in the recommendations");
  for (QToolButton* clearButton : filter_->findChildren<QToolButton*>()) clearButton->setAccessibleName("Clear the search");
  shownAdvice_->setSourceModel(advice_);
  shownAdvice_->setFilterCaseSensitivity(Qt::CaseInsensitive);
  adviceList_->setModel(shownAdvice_);
  adviceList_->setObjectName("recommendations");
  adviceList_->setAccessibleName("Recommendations");
  adviceList_->setWordWrap(true);
  adviceList_->setAlternatingRowColors(true);
  adviceList_->setEditTriggers(QAbstractItemView::NoEditTriggers);
  adviceList_->setSpacing(2);
  adviceState_->setObjectName("recommendationsState");
  showOnMap_->setObjectName("showOnMap");
  showOnMap_->setAccessibleName("Show the chosen recommendation's place on the map");
  reviewItems_->setObjectName("tickInCleanup");
  reviewItems_->setAccessibleName("Tick the chosen recommendation's suggestions on the Cleanup screen");

  auto* adviceSide = new QWidget(this);
  auto* adviceLayout = new QVBoxLayout(adviceSide);
  adviceLayout->setContentsMargins(8, 0, 0, 0);
  adviceLayout->addWidget(sectionHeading("Recommendations", adviceSide));
  adviceLayout->addWidget(filter_);
  adviceLayout->addWidget(adviceState_);
  adviceLayout->addWidget(adviceList_, 1);
  auto* adviceButtons = new QHBoxLayout;
  adviceButtons->addWidget(showOnMap_);
  adviceButtons->addWidget(reviewItems_);
  adviceLayout->addLayout(adviceButtons);

  auto* split = new QSplitter(Qt::Horizontal, this);
  split->addWidget(mapSide);
  split->addWidget(adviceSide);
  split->setStretchFactor(0, 1);
  split->setStretchFactor(1, 0);
  split->setSizes({720, 290});
  split->setChildrenCollapsible(false);

  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addWidget(pageTitle("Disk Map", this));
  layout->addLayout(toolbar);
  layout->addWidget(split, 1);

  setTabOrder(kinds_->button(0), kinds_->button(1));
  setTabOrder(kinds_->button(1), kinds_->button(2));
  setTabOrder(kinds_->button(2), colors_);
  setTabOrder(colors_, zoomOut_);
  setTabOrder(zoomOut_, canvas_);

  connect(kinds_, &QButtonGroup::idClicked, this, [this](int id) { model_.map().setKind(static_cast<MapKind>(id)); });
  connect(&map, &MapModel::kindChanged, this, [this] {
    kinds_->button(static_cast<int>(model_.map().kind()))->setChecked(true);
  });
  connect(colors_, &QComboBox::currentIndexChanged, this, [this](int index) {
    model_.map().setColors(index == 1 ? MapColors::age : MapColors::fileKind);
  });
  connect(&map, &MapModel::colorsChanged, this, &MapScreen::showLegend);
  connect(zoomOut_, &QPushButton::clicked, &map, &MapModel::zoomOut);
  connect(listLive_, &QPushButton::clicked, &map, &MapModel::listLive);
  connect(&map, &MapModel::trailChanged, this, &MapScreen::showTrail);
  connect(&map, &MapModel::listingChanged, this, &MapScreen::showFolderState);
  connect(&map, &MapModel::layoutChanged, this, [this] {
    showLegend();
    showEmptyText();
    showFolderState();
  });
  connect(&map, &MapModel::buildingChanged, this, &MapScreen::showEmptyText);
  connect(canvas_, &MapCanvas::hoverChanged, this, &MapScreen::showItem);
  connect(canvas_, &MapCanvas::cursorChanged, this, &MapScreen::showItem);
  connect(canvas_, &MapCanvas::menuRequested, this, &MapScreen::openMenu);
  connect(&model_.trash(), &TrashCoordinator::batchesChanged, this, [this] { canvas_->setRemoved(model_.trash().removed()); });
  connect(&model_, &AppModel::cleanupChanged, this, [this] { canvas_->setRemoved(model_.trash().removed()); });

  connect(filter_, &QLineEdit::textChanged, shownAdvice_, &QSortFilterProxyModel::setFilterFixedString);
  connect(&map, &MapModel::recommendationsChanged, this, &MapScreen::fillRecommendations);
  connect(adviceList_->selectionModel(), &QItemSelectionModel::currentChanged, this, &MapScreen::showRecommendations);
  connect(adviceList_, &QListView::activated, this, [this] { showOnMap_->click(); });
  connect(showOnMap_, &QPushButton::clicked, this, [this] {
    const int chosen = chosenRecommendation();
    if (chosen < 0) return;
    const Recommendation& advice = model_.map().recommendations()[static_cast<size_t>(chosen)];
    model_.map().focusOn(advice.mapPath);
    canvas_->setFocus();
  });
  connect(reviewItems_, &QPushButton::clicked, this, [this] {
    const int chosen = chosenRecommendation();
    if (chosen < 0) return;
    const Recommendation& advice = model_.map().recommendations()[static_cast<size_t>(chosen)];
    model_.setSelected(advice.items, true);
    model_.setRoute(Route::cleanup);
  });
  connect(&model_.scanner(), &ScanController::reportChanged, this, &MapScreen::showEmptyText);

  canvas_->setRemoved(model_.trash().removed());
  showTrail();
  showFolderState();
  showLegend();
  fillRecommendations();
  showEmptyText();
  showItem();
}

void MapScreen::showTrail() {
  clear(trail_);
  const auto& trail = model_.map().trail();
  for (size_t level = 0; level < trail.size(); ++level) {
    const bool here = level + 1 == trail.size();
    const QString name = level == 0 ? pathText(trail[0], model_.home()) : qstr(lastComponent(trail[level]));
    if (level > 0) trail_->addWidget(new QLabel("\u203a", this));
    auto* step = new QToolButton(this);
    step->setText(name);
    step->setAutoRaise(true);
    step->setEnabled(!here);
    step->setAccessibleName(here ? "Showing " + name : "Zoom out to " + name);
    connect(step, &QToolButton::clicked, this, [this, level] { model_.map().zoomTo(level); });
    trail_->addWidget(step);
  }
  trail_->addStretch(1);
  zoomOut_->setEnabled(trail.size() > 1);
}

void MapScreen::showFolderState() {
  const MapModel& map = model_.map();
  const QString folder = pathText(map.folder(), model_.home());
  QString text;
  bool offer = false;
  if (map.isListing()) {
    text = "Listing " + folder + "\u2026";
  } else if (map.listingError()) {
    text = qstr(*map.listingError());
  } else if (map.mapLayout()) {
    switch (map.contents()) {
      case MapModel::Contents::held:
        break;
      case MapModel::Contents::folded:
        text = bytesText(map.foldedBytes()) + " of " + folder +
               " is in items too small for the scan to keep one by one, drawn as \u201cSmaller items\u201d.";
        offer = true;
        break;
      case MapModel::Contents::notHeld:
        text = "The scan kept only the size of " + folder + ": everything in it is too small to keep one by one.";
        offer = true;
        break;
      case MapModel::Contents::unreadable:
        text = "The scan could not read " + folder + ".";
        break;
      case MapModel::Contents::listedLive:
        text = folder + " as listed just now \u2014 not part of the saved scan.";
        break;
    }
  }
  folderState_->setText(text);
  folderState_->setVisible(!text.isEmpty());
  listLive_->setVisible(offer || map.isListing());
  listLive_->setEnabled(offer && !map.isListing());
}

void MapScreen::showItem() {
  const auto& picture = canvas_->picture();
  const auto index = canvas_->hovered() ? canvas_->hovered() : canvas_->cursor();
  itemLine_->setText(picture && index ? mapItemText(*picture, *index, model_.home()) : QString());
}

void MapScreen::showLegend() {
  const auto& report = model_.scanner().report();
  if (!report) {
    legend_->clear();
    return;
  }
  const MapColorTable table(model_.map().colors(), palette(), report->date);
  QString html;
  for (const auto& entry : table.legend(*report)) {
    // Each entry stays on one line; the legend wraps between them.
    html += "<span style=\"color:" + entry.color.name() + "\">\u25a0</span>&nbsp;" +
            entry.label.toHtmlEscaped().replace(" ", "&nbsp;") + "&nbsp;&nbsp; ";
  }
  if (model_.map().kind() == MapKind::city) html += "<br>Height: how long since it changed (taller is older).";
  legend_->setText(html);
}

void MapScreen::showEmptyText() {
  const MapModel& map = model_.map();
  if (!model_.scanner().report()) {
    canvas_->setEmptyText(noReportText(model_));
  } else if (map.isBuilding() || !map.mapLayout()) {
    canvas_->setEmptyText("Laying out the map\u2026");
  }
}

void MapScreen::showRecommendations() {
  const MapModel& map = model_.map();
  QString state;
  if (!model_.scanner().report()) {
    state = noReportText(model_);
  } else if (map.isRecommending() && map.recommendations().empty()) {
    state = "Working out what to recommend\u2026";
  } else if (map.recommendations().empty()) {
    state = "Nothing of 1 GB or more stands out. The map shows where the rest of the space is.";
  }
  adviceState_->setText(state);
  adviceState_->setVisible(!state.isEmpty());
  const int now = chosenRecommendation();
  const Recommendation* advice = now >= 0 ? &map.recommendations()[static_cast<size_t>(now)] : nullptr;
  showOnMap_->setEnabled(advice && !advice->mapPath.empty());
  reviewItems_->setEnabled(advice && !advice->items.empty());
}

void MapScreen::fillRecommendations() {
  const auto& found = model_.map().recommendations();
  advice_->clear();
  for (size_t i = 0; i < found.size(); ++i) {
    auto* row = new QStandardItem(qstr(found[i].text));
    row->setData(static_cast<int>(i), kRecommendationRole);
    row->setToolTip(qstr(found[i].text));
    advice_->appendRow(row);
  }
  if (advice_->rowCount() > 0) adviceList_->setCurrentIndex(shownAdvice_->index(0, 0));
  showRecommendations();
}

int MapScreen::chosenRecommendation() const {
  const QModelIndex index = adviceList_->currentIndex();
  if (!index.isValid()) return -1;
  const int at = index.data(kRecommendationRole).toInt();
  return at < static_cast<int>(model_.map().recommendations().size()) ? at : -1;
}

void MapScreen::openMenu(size_t index, QPoint at) {
  const auto picture = canvas_->picture();
  if (!picture) return;
  const map::MapEntry& entry = picture->entry(index);
  const std::string path = picture->path(index);
  const std::string folder = picture->folderPath(index);
  auto* menu = new QMenu(this);
  menu->setAttribute(Qt::WA_DeleteOnClose);
  if (entry.isFolder() && index > 0) {
    menu->addAction("Zoom In", this, [this, path] { model_.map().zoomInto(path); });
  }
  if (entry.folded && folder == model_.map().folder()) {
    menu->addAction("List Folder Now", &model_.map(), &MapModel::listLive);
  }
  menu->addAction("Show in Folder", this, [path, folder] { showInFolder(path.empty() ? folder : path); });
  QAction* copy = menu->addAction("Copy Path", this, [this, path] {
    QGuiApplication::clipboard()->setText(qstr(path));
    model_.setNotice("Copied: " + path, true);
  });
  menu->addSeparator();
  QAction* keep = menu->addAction("Keep", this, [this, path] { model_.setKept({path}, true); });
  keep->setToolTip("Tallyfin will not suggest this item again (saved in keep.json)");
  QAction* trash = menu->addAction("Move to Trash\u2026", this,
                                   [this, path, size = entry.size] { confirmTrash(path, size); });
  for (QAction* action : {copy, keep, trash}) action->setEnabled(!path.empty());
  trash->setEnabled(!path.empty() && !model_.trash().isTrashing());
  menu->popup(at);
}

void MapScreen::confirmTrash(const std::string& path, int64_t size) {
  const std::string name(lastComponent(path));
  TrashConfirmation::ask({{qstr(name), pathText(parentPath(path), model_.home()), size}}, this,
                         [this, path, size, name] { model_.trashFiles({{path, size}}, name); });
}

}  // namespace tallyfin::app
