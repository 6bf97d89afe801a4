#pragma once

// The disk map's state: which layout and colours, the folder zoomed into and the
// trail back to where the map opens, the laid-out picture (cached by the report's
// date, the layout, the folder and, for the treemap, the size), the folders listed
// live where the report folded their contents away, and the recommendations shown
// beside the map. Everything here lives on the main thread; layouts, listings and
// recommendations are worked out on other threads and come back here.

#include <QObject>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/model/map_picture.h"
#include "kit/cleanup/keep_list.h"
#include "kit/history/history_records.h"
#include "kit/map/recommendations.h"
#include "kit/scan/scan_progress.h"
#include "kit/trash/trash_service.h"

namespace tallyfin::app {

class MapModel : public QObject {
  Q_OBJECT

 public:
  explicit MapModel(std::string home, QObject* parent = nullptr);
  // Stops a live listing that is still running.
  ~MapModel() override;

  // The report to draw. A report of another date drops the layout and the live
  // listings and lays out again; the same report read again changes nothing.
  void setReport(std::shared_ptr<const ScanReport> report);

  MapKind kind() const { return kind_; }
  void setKind(MapKind kind);
  MapColors colors() const { return colors_; }
  void setColors(MapColors colors);
  // The pixels the treemap fills.
  void setViewport(double width, double height);

  // The picture on screen, and the date of the report it was laid out from.
  const std::shared_ptr<const MapPicture>& mapLayout() const { return picture_; }
  std::optional<double> mapLayoutDate() const;
  bool isBuilding() const { return building_.has_value(); }
  // Lays out the folder on screen again, off the main thread, unless the picture
  // already shows this report's folder in this layout (and size).
  void buildMapLayout();

  // From where the report's tree first branches down to the folder on screen
  // (the map opens at the home folder, with the folders above it on the trail).
  const std::vector<std::string>& trail() const { return trail_; }
  std::string folder() const { return trail_.empty() ? std::string() : trail_.back(); }
  // Zooms into a folder shown on the map; false for anything that is not a folder.
  bool zoomInto(const std::string& path);
  void zoomOut();
  // Back to the trail's folder at `level` (0: where the map opened).
  void zoomTo(size_t level);
  // "Show on Disk Map": opens at the deepest folder that shows `path`.
  void focusOn(const std::string& path);
  // The place the view's cursor starts at in the next picture: what was asked
  // for, or the folder just zoomed out of; empty for the largest item.
  const std::string& focus() const { return focus_; }

  // How much of the folder on screen the report holds.
  enum class Contents {
    held,        // every item big enough to draw
    folded,      // big items, and the small rest as one "Smaller items"
    notHeld,     // its size only: everything in it was too small to keep
    unreadable,  // the scan could not read it
    listedLive,  // listed just now, not from the report
  };
  Contents contents() const;
  // Bytes of the folder on screen that the report folded into "Smaller items".
  int64_t foldedBytes() const;
  // Lists the folder on screen now, off the main thread, and draws it from that listing.
  void listLive();
  bool isListing() const { return listing_.has_value(); }
  const std::optional<std::string>& listingError() const { return listingError_; }
  // What a live listing saw at `path`; none when no listing holds it.
  std::optional<ItemIdentity> seenInListing(const std::string& path) const;

  // Works out the recommendations again for what is hidden now, off the main thread.
  void recommend(HiddenPaths hidden, std::vector<FolderTrend> growing);
  const std::vector<Recommendation>& recommendations() const { return recommendations_; }
  bool isRecommending() const { return recommending_; }

 signals:
  // A new picture, or none; `zoomed` when it follows a zoom, so the view animates.
  void layoutChanged(bool zoomed);
  void buildingChanged();
  void trailChanged();
  void kindChanged();
  void colorsChanged();
  void listingChanged();
  void recommendationsChanged();

 private:
  // The node drawn for a path: from the deepest live listing that holds it, else the report.
  struct Resolved {
    const DiskNode* node = nullptr;
    std::shared_ptr<const DiskNode> live;
  };
  Resolved resolve(const std::string& path) const;
  // What a picture is a picture of: the same key, the same picture.
  struct Key {
    double reportDate = 0;
    MapKind kind = MapKind::sunburst;
    std::string folder;
    map::Rect bounds;
    const DiskNode* live = nullptr;
    bool operator==(const Key&) const = default;
  };
  // Where the map of a new report opens: the home folder when the report holds it.
  std::string openingPlace() const;
  // The trail from where the tree first branches down to `path`.
  std::vector<std::string> trailTo(const std::string& path) const;
  void setTrail(std::vector<std::string> trail, std::string focus);
  void cancelListing();

  std::string home_;
  std::shared_ptr<const ScanReport> report_;
  MapKind kind_ = MapKind::sunburst;
  MapColors colors_ = MapColors::fileKind;
  map::Rect viewport_{0, 0, 1000, 700};
  std::shared_ptr<const MapPicture> picture_;
  std::optional<Key> pictureKey_;
  std::optional<Key> building_;
  bool zoomed_ = false;  // the picture being built follows a zoom
  int buildSerial_ = 0;
  std::vector<std::string> trail_;
  std::string focus_;
  std::map<std::string, std::shared_ptr<const DiskNode>> live_;  // by the folder listed
  std::optional<std::string> listing_;
  std::optional<std::string> listingError_;
  std::shared_ptr<CancelToken> cancelListing_;
  std::vector<Recommendation> recommendations_;
  bool recommending_ = false;
  int recommendSerial_ = 0;
};

}  // namespace tallyfin::app
