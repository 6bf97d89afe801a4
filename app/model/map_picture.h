#pragma once

// One laid-out disk map: a folder in one of the three layouts, and the trees the
// layout borrows kept alive with it (the report, and the live listing it was laid
// out from, when it was). Immutable once built, so the main thread can draw one
// while the next is laid out on another thread.

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "kit/map/city.h"
#include "kit/map/sunburst.h"
#include "kit/map/treemap.h"
#include "kit/report/scan_report.h"

namespace tallyfin::app {

enum class MapKind { sunburst, treemap, city };

// "Sunburst", "Treemap", "City".
std::string_view label(MapKind kind);
// The kind of a name as --map takes it ("sunburst", "treemap", "city"); none otherwise.
std::optional<MapKind> mapKindNamed(std::string_view name);

// How the shapes are coloured: by the kind of data in them, or by how long ago
// they last changed.
enum class MapColors { fileKind, age };

struct MapPicture {
  using Layout = std::variant<map::SunburstLayout, map::TreemapLayout, map::CityLayout>;

  MapKind kind = MapKind::sunburst;
  std::shared_ptr<const ScanReport> report;
  std::shared_ptr<const DiskNode> live;  // the live listing laid out, anchored at "/"
  map::Rect bounds;                      // the treemap's pixels; empty for the others
  Layout layout;

  // The tree the shapes' nodes belong to.
  const DiskNode& tree() const { return live ? *live : report->tree; }
  double reportDate() const { return report->date; }

  size_t size() const;
  const map::MapEntry& entry(size_t index) const;
  const std::string& rootPath() const;
  std::string path(size_t index) const;
  std::string folderPath(size_t index) const;
  std::optional<size_t> locate(std::string_view path) const;
  // The shape under a point of the layout's own plane (see the layouts' `hit`).
  std::optional<size_t> hit(map::Point point) const;
  // The sibling `step` places before (negative) or after a shape, in drawing order;
  // none past either end or for the root.
  std::optional<size_t> sibling(size_t index, int step) const;
};

// Lays out `folder` (at `path`, a node of `live` when given, else of the report).
// `bounds` is the treemap's pixel rectangle.
std::shared_ptr<const MapPicture> layOut(MapKind kind, std::shared_ptr<const ScanReport> report,
                                         std::shared_ptr<const DiskNode> live, const DiskNode& folder,
                                         std::string path, map::Rect bounds);

}  // namespace tallyfin::app
