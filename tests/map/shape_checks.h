#pragma once

// Checks shared by the layout tests: who is whose child, and whether rectangles
// overlap, on the flat shape vectors every layout returns.

#include <algorithm>
#include <cstddef>
#include <vector>

#include "kit/map/map_geometry.h"

namespace tallyfin::testing {

// The indexes of each shape's children, in shape order.
template <class Shape>
std::vector<std::vector<size_t>> childLists(const std::vector<Shape>& shapes) {
  std::vector<std::vector<size_t>> children(shapes.size());
  for (size_t i = 0; i < shapes.size(); ++i) {
    if (shapes[i].parent >= 0) children[static_cast<size_t>(shapes[i].parent)].push_back(i);
  }
  return children;
}

inline double overlapArea(const map::Rect& a, const map::Rect& b) {
  const double w = std::min(a.right(), b.right()) - std::max(a.x, b.x);
  const double h = std::min(a.bottom(), b.bottom()) - std::max(a.y, b.y);
  return w > 0 && h > 0 ? w * h : 0;
}

// The largest overlap between any two of the rectangles (a sweep along x, so that
// ten thousand siblings stay quick).
inline double largestOverlap(std::vector<map::Rect> rects) {
  std::sort(rects.begin(), rects.end(), [](const auto& a, const auto& b) { return a.x < b.x; });
  double largest = 0;
  for (size_t i = 0; i < rects.size(); ++i) {
    for (size_t j = i + 1; j < rects.size() && rects[j].x < rects[i].right(); ++j) {
      largest = std::max(largest, overlapArea(rects[i], rects[j]));
    }
  }
  return largest;
}

// Whether `inner` lies within `outer`, allowing `slack` for rounding.
inline bool within(const map::Rect& outer, const map::Rect& inner, double slack) {
  return inner.x >= outer.x - slack && inner.y >= outer.y - slack &&
         inner.right() <= outer.right() + slack && inner.bottom() <= outer.bottom() + slack;
}

}  // namespace tallyfin::testing
