#include "app/model/map_model.h"

#include "app/model/live_listing.h"
#include "app/model/off_main_thread.h"
#include "kit/base/paths.h"

namespace tallyfin::app {
namespace {

bool isFolder(const DiskNode& node) {
  return node.kind == DiskNode::Kind::folder || node.kind == DiskNode::Kind::bundle;
}

bool holds(const std::string& folder, const std::string& path) {
  return path == folder || isInside(path, folder);
}

}  // namespace

MapModel::MapModel(std::string home, QObject* parent) : QObject(parent), home_(std::move(home)) {}

MapModel::~MapModel() { cancelListing(); }

void MapModel::setReport(std::shared_ptr<const ScanReport> report) {
  if (report && report_ && report->date == report_->date) return;
  cancelListing();
  live_.clear();
  listingError_.reset();
  const std::string was = folder();
  report_ = std::move(report);
  const bool hadPicture = picture_ != nullptr;
  picture_.reset();
  pictureKey_.reset();
  building_.reset();
  ++buildSerial_;
  recommendations_.clear();
  ++recommendSerial_;
  recommending_ = false;
  emit recommendationsChanged();
  if (hadPicture) emit layoutChanged(false);
  // A rescan keeps the map where it was, as long as that folder is still there.
  std::vector<std::string> trail;
  if (report_) {
    const Resolved there = was.empty() ? Resolved{} : resolve(was);
    trail = there.node && isFolder(*there.node) ? trailTo(was) : trailTo(openingPlace());
  }
  setTrail(std::move(trail), {});
  emit listingChanged();
  buildMapLayout();
}

void MapModel::setKind(MapKind kind) {
  if (kind == kind_) return;
  kind_ = kind;
  emit kindChanged();
  buildMapLayout();
}

void MapModel::setColors(MapColors colors) {
  if (colors == colors_) return;
  colors_ = colors;
  emit colorsChanged();
}

void MapModel::setViewport(double width, double height) {
  const map::Rect viewport{0, 0, width, height};
  if (viewport == viewport_ || viewport.empty()) return;
  viewport_ = viewport;
  if (kind_ == MapKind::treemap) buildMapLayout();
}

std::optional<double> MapModel::mapLayoutDate() const {
  return picture_ ? std::optional(picture_->reportDate()) : std::nullopt;
}

MapModel::Resolved MapModel::resolve(const std::string& path) const {
  const std::shared_ptr<const DiskNode>* deepest = nullptr;
  size_t deepestLength = 0;
  for (const auto& [listed, tree] : live_) {
    if (holds(listed, path) && listed.size() >= deepestLength) {
      deepest = &tree;
      deepestLength = listed.size();
    }
  }
  if (deepest) {
    if (const DiskNode* node = (*deepest)->node(path)) return {node, *deepest};
  }
  if (!report_) return {};
  return {report_->tree.node(path), nullptr};
}

std::string MapModel::openingPlace() const {
  // The home folder is what most of the cleaning is about; the trail above it
  // still leads out to the rest of the disk.
  const std::string opening = map::openingFolder(report_->tree).path;
  const DiskNode* home = report_->tree.node(home_);
  return home && isFolder(*home) && holds(opening, home_) ? home_ : opening;
}

std::vector<std::string> MapModel::trailTo(const std::string& path) const {
  const std::string base = map::openingFolder(report_->tree).path;
  if (!holds(base, path)) return {path};
  std::vector<std::string> trail{base};
  forEachComponent(std::string_view(path).substr(base == "/" ? 0 : base.size()),
                   [&](std::string_view name) { trail.push_back(joinPath(trail.back(), name)); });
  return trail;
}

void MapModel::setTrail(std::vector<std::string> trail, std::string focus) {
  focus_ = std::move(focus);
  if (trail == trail_) return;
  trail_ = std::move(trail);
  listingError_.reset();
  emit trailChanged();
  emit listingChanged();
}

void MapModel::buildMapLayout() {
  if (!report_ || trail_.empty()) return;
  const Resolved folder = resolve(this->folder());
  if (!folder.node) return;
  Key key{report_->date, kind_, this->folder(), kind_ == MapKind::treemap ? viewport_ : map::Rect{},
          folder.live.get()};
  if (picture_ && pictureKey_ == key) {
    // The same picture; a focus asked for still moves the cursor.
    if (std::exchange(zoomed_, false)) emit layoutChanged(true);
    return;
  }
  if (building_ == key) return;
  building_ = key;
  const int serial = ++buildSerial_;
  emit buildingChanged();
  offMainThread(
      this,
      [kind = kind_, report = report_, live = folder.live, node = folder.node, path = key.folder,
       bounds = key.bounds] { return layOut(kind, report, live, *node, path, bounds); },
      [this, serial, key](std::shared_ptr<const MapPicture> picture) {
        if (serial != buildSerial_) return;
        building_.reset();
        picture_ = std::move(picture);
        pictureKey_ = key;
        emit buildingChanged();
        emit layoutChanged(std::exchange(zoomed_, false));
      });
}

bool MapModel::zoomInto(const std::string& path) {
  const Resolved target = resolve(path);
  if (!target.node || !isFolder(*target.node) || path == folder()) return false;
  setTrail(trailTo(path), {});
  zoomed_ = true;
  buildMapLayout();
  return true;
}

void MapModel::zoomOut() {
  if (trail_.size() < 2) return;
  zoomTo(trail_.size() - 2);
}

void MapModel::zoomTo(size_t level) {
  if (level + 1 >= trail_.size()) return;
  std::string left = trail_[level + 1];
  std::vector<std::string> trail(trail_.begin(), trail_.begin() + static_cast<std::ptrdiff_t>(level) + 1);
  setTrail(std::move(trail), std::move(left));
  zoomed_ = true;
  buildMapLayout();
}

void MapModel::focusOn(const std::string& path) {
  if (!report_) return;
  map::MapFocus shown = map::focusFor(report_->tree, path);
  for (const auto& [listed, tree] : live_) {
    if (!holds(listed, path)) continue;
    const map::MapFocus inListing = map::focusFor(*tree, path);
    if (inListing.path.size() > shown.path.size()) shown = inListing;
  }
  setTrail(trailTo(shown.path), path);
  zoomed_ = true;
  buildMapLayout();
}

MapModel::Contents MapModel::contents() const {
  const Resolved shown = resolve(folder());
  if (!shown.node) return Contents::held;
  if (shown.live) return Contents::listedLive;
  const DiskNode& node = *shown.node;
  if (node.kind == DiskNode::Kind::unreadable) return Contents::unreadable;
  if (node.children.empty()) return node.size > 0 ? Contents::notHeld : Contents::held;
  return node.children.back().kind == DiskNode::Kind::smaller ? Contents::folded : Contents::held;
}

int64_t MapModel::foldedBytes() const {
  const Resolved shown = resolve(folder());
  if (!shown.node || shown.node->children.empty()) return 0;
  const DiskNode& last = shown.node->children.back();
  return last.kind == DiskNode::Kind::smaller ? last.size : 0;
}

void MapModel::listLive() {
  if (!report_ || trail_.empty() || listing_) return;
  const std::string path = folder();
  listing_ = path;
  listingError_.reset();
  cancelListing_ = std::make_shared<CancelToken>();
  emit listingChanged();
  offMainThread(
      this, [path, home = home_, cancel = cancelListing_] { return listFolder(path, home, *cancel); },
      [this, path, date = report_->date](Expected<DiskNode, std::string> listed) {
        // A listing of the previous report's folder belongs to that report.
        if (!report_ || report_->date != date || listing_ != path) return;
        listing_.reset();
        cancelListing_.reset();
        if (listed) {
          live_[path] = std::make_shared<const DiskNode>(std::move(listed).value());
        } else {
          listingError_ = listed.error();
        }
        emit listingChanged();
        buildMapLayout();
      });
}

void MapModel::cancelListing() {
  if (cancelListing_) cancelListing_->cancel();
  cancelListing_.reset();
  listing_.reset();
}

std::optional<ItemIdentity> MapModel::seenInListing(const std::string& path) const {
  const Resolved seen = resolve(path);
  if (!seen.live) return std::nullopt;
  return ItemIdentity::inScan(*seen.live, path);
}

void MapModel::recommend(HiddenPaths hidden, std::vector<FolderTrend> growing) {
  if (!report_) return;
  const int serial = ++recommendSerial_;
  recommending_ = true;
  offMainThread(
      this,
      [report = report_, hidden = std::move(hidden), growing = std::move(growing)] {
        return Analysis::recommendations(*report, hidden, growing);
      },
      [this, serial](std::vector<Recommendation> found) {
        if (serial != recommendSerial_) return;
        recommending_ = false;
        recommendations_ = std::move(found);
        emit recommendationsChanged();
      });
}

}  // namespace tallyfin::app
