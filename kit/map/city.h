#pragma once

// The 3-D city of the disk map. Folders are blocks, low plinths laid out like the
// treemap, with their children standing on them; files, and folders whose insides
// are not drawn, are buildings. A footprint's area is in proportion to its size
// (every footprint takes the same share of its plot, so siblings compare exactly).
//
// A building's height is its age: the time since it was last modified, on a
// logarithmic scale that reaches full height at `agedDays`. Age rather than growth,
// because every node of every report carries a modification time, while growth
// needs several scans and exists only for the few folders the history samples:
// with growth most of the city would stand flat. And age is what a cleanup turns
// on: a wide, tall building is big and long untouched, the first place to look.
// Aggregates and nodes of unknown age (modified 0) are flat (`minimumHeight`).
//
// The view draws `shapes()` in order: the order is back to front for the
// isometric projection of isometric.h, so nearer boxes simply paint over farther
// ones. For each shape it fills the `project(box)` faces (top lightest) and asks
// `hit` with a point in the same projected plane; it scales `projectedBounds()`
// into its widget and maps the mouse back before asking.

#include <optional>
#include <string>
#include <vector>

#include "kit/map/isometric.h"
#include "kit/map/map_layout.h"
#include "kit/map/rect_grid.h"

namespace tallyfin::map {

struct CityBox : MapEntry {
  Box box;
  bool block = false;  // a folder plinth with its children on top, not a building
};

struct CityOptions {
  double groundSize = 1000;      // the square ground, in world units
  double footprintShare = 0.86;  // of its plot's width and depth a footprint takes: the streets
  double blockMargin = 0.03;     // of a block's smaller side kept free around its children
  double plinthHeight = 6;
  double minimumHeight = 4;      // a building just modified, or of unknown age
  double maximumHeight = 160;
  double agedDays = 730;         // the age at which a building reaches full height
  double minimumFootprint = 9;   // smaller footprints merge into "N smaller items"
  int maxDepth = 12;
  int64_t now = 0;               // ages are measured to this moment (the report's date)
};

class CityLayout : public MapLayout<CityBox> {
 public:
  CityLayout() = default;
  CityLayout(const DiskNode& root, std::string rootPath, std::vector<CityBox> boxes);

  // Where the projected city lies on the screen plane.
  const Rect& projectedBounds() const { return projectedBounds_; }

  // The box drawn on top at a point of the screen plane; none where only ground shows.
  std::optional<size_t> hit(Point projected) const;

 private:
  Rect projectedBounds_;
  RectGrid grid_;
};

// The city of `root` (found at `rootPath`).
CityLayout city(const DiskNode& root, std::string rootPath, const CityOptions& options = {});
CityLayout city(const DiskNode&& root, std::string rootPath,
                const CityOptions& options = {}) = delete;  // the layout borrows the tree

// The height of a building last modified at `modified` (0: unknown).
double buildingHeight(int64_t modified, const CityOptions& options);

}  // namespace tallyfin::map
