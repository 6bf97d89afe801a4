#include "kit/map/rect_grid.h"

#include <algorithm>
#include <cmath>

namespace tallyfin::map {
namespace {

constexpr double kMostCells = 1 << 18;

}  // namespace

RectGrid::RectGrid(const Rect& bounds, const std::vector<Rect>& boxes) : bounds_(bounds) {
  if (bounds.empty() || boxes.empty()) return;
  // Square-ish cells, about as many as shapes: a cell then holds the few shapes
  // drawn there plus the folders around them.
  const double cells = std::clamp(static_cast<double>(boxes.size()), 1.0, kMostCells);
  const double across = std::sqrt(cells * bounds.width / bounds.height);
  columns_ = static_cast<int>(std::clamp(std::ceil(across), 1.0, cells));
  rows_ = static_cast<int>(std::clamp(std::ceil(cells / columns_), 1.0, cells));
  cellWidth_ = bounds.width / columns_;
  cellHeight_ = bounds.height / rows_;

  const size_t cellCount = static_cast<size_t>(columns_) * static_cast<size_t>(rows_);
  cellStart_.assign(cellCount + 1, 0);
  struct Span {
    int c0, c1, r0, r1;
  };
  std::vector<Span> spans(boxes.size());
  for (size_t i = 0; i < boxes.size(); ++i) {
    const Rect& box = boxes[i];
    if (!touches(box, bounds)) {
      spans[i] = {0, -1, 0, -1};
      continue;
    }
    const auto [c0, c1] = cellSpan(box.x, box.right(), bounds.x, cellWidth_, columns_);
    const auto [r0, r1] = cellSpan(box.y, box.bottom(), bounds.y, cellHeight_, rows_);
    spans[i] = {c0, c1, r0, r1};
    for (int r = r0; r <= r1; ++r) {
      for (int c = c0; c <= c1; ++c) ++cellStart_[static_cast<size_t>(r * columns_ + c) + 1];
    }
  }
  for (size_t c = 0; c < cellCount; ++c) cellStart_[c + 1] += cellStart_[c];
  items_.resize(cellStart_[cellCount]);
  std::vector<uint32_t> next(cellStart_.begin(), cellStart_.end() - 1);
  for (size_t i = 0; i < boxes.size(); ++i) {
    const Span& s = spans[i];
    for (int r = s.r0; r <= s.r1; ++r) {
      for (int c = s.c0; c <= s.c1; ++c) {
        items_[next[static_cast<size_t>(r * columns_ + c)]++] = static_cast<uint32_t>(i);
      }
    }
  }
}

std::pair<int, int> RectGrid::cellSpan(double low, double high, double origin, double cell,
                                       int count) const {
  const auto clampCell = [&](double at) {
    return static_cast<int>(std::clamp(std::floor((at - origin) / cell), 0.0, count - 1.0));
  };
  return {clampCell(low), clampCell(high)};
}

std::optional<size_t> RectGrid::cellOf(Point p) const {
  if (columns_ == 0 || p.x < bounds_.x || p.y < bounds_.y || p.x > bounds_.right() ||
      p.y > bounds_.bottom()) {
    return std::nullopt;
  }
  const auto column = cellSpan(p.x, p.x, bounds_.x, cellWidth_, columns_).first;
  const auto row = cellSpan(p.y, p.y, bounds_.y, cellHeight_, rows_).first;
  return static_cast<size_t>(row * columns_ + column);
}

}  // namespace tallyfin::map
