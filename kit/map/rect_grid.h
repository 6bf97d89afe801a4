#pragma once

// A uniform grid over the boxes of a layout's shapes: a point is looked up among
// the few shapes whose box touches its cell instead of among all of them.

#include <cstdint>
#include <optional>
#include <vector>

#include "kit/map/map_geometry.h"

namespace tallyfin::map {

class RectGrid {
 public:
  RectGrid() = default;

  // `boxes[i]` bounds shape i (edges included); the grid covers `bounds`, about one
  // cell per shape.
  RectGrid(const Rect& bounds, const std::vector<Rect>& boxes);

  // The highest shape index whose box touches the point's cell and for which
  // `holds(index)` is true: the shape drawn last, on top. None outside the bounds.
  template <class Holds>
  std::optional<size_t> lastHolding(Point p, Holds&& holds) const {
    const auto cell = cellOf(p);
    if (!cell) return std::nullopt;
    for (uint32_t k = cellStart_[*cell + 1]; k-- > cellStart_[*cell];) {
      if (holds(static_cast<size_t>(items_[k]))) return items_[k];
    }
    return std::nullopt;
  }

 private:
  std::optional<size_t> cellOf(Point p) const;
  // The first and last column (or row) a span from `low` to `high` touches.
  std::pair<int, int> cellSpan(double low, double high, double origin, double cell,
                               int count) const;

  Rect bounds_;
  int columns_ = 0;
  int rows_ = 0;
  double cellWidth_ = 1;
  double cellHeight_ = 1;
  std::vector<uint32_t>
      cellStart_;                // the items of cell c are items_[cellStart_[c], cellStart_[c+1])
  std::vector<uint32_t> items_;  // shape indexes, ascending within a cell
};

}  // namespace tallyfin::map
