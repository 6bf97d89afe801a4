#include "kit/map/squarify.h"

#include <algorithm>

namespace tallyfin::map {
namespace {

// The worst aspect ratio in a row of `sum` area laid along `side`, whose smallest
// and largest tiles are `smallest` and `largest`.
double worstRatio(double sum, double smallest, double largest, double side) {
  const double sum2 = sum * sum, side2 = side * side;
  return std::max(side2 * largest / sum2, sum2 / (side2 * smallest));
}

}  // namespace

std::vector<Rect> squarify(const std::vector<double>& areas, const Rect& within) {
  std::vector<Rect> tiles;
  squarify(areas, within, tiles);
  return tiles;
}

void squarify(const std::vector<double>& areas, const Rect& within, std::vector<Rect>& tiles) {
  tiles.resize(areas.size());
  Rect rest = within;
  for (size_t i = 0; i < areas.size();) {
    const bool wide = rest.width >= rest.height;
    const double side = wide ? rest.height : rest.width;
    size_t end = i + 1;
    double sum = areas[i];
    if (side <= 0) {
      end = areas.size();  // nothing to shape: every tile gets an empty rectangle
    } else {
      double smallest = sum, largest = sum;
      double ratio = worstRatio(sum, smallest, largest, side);
      for (; end < areas.size(); ++end) {
        const double grown = sum + areas[end];
        const double low = std::min(smallest, areas[end]), high = std::max(largest, areas[end]);
        const double grownRatio = worstRatio(grown, low, high, side);
        if (grownRatio > ratio) break;
        sum = grown, smallest = low, largest = high, ratio = grownRatio;
      }
    }
    // The last row takes exactly what is left, and the last tile of a row reaches the
    // row's end, so rounding never leaves a sliver or spills outside.
    const double left = wide ? rest.width : rest.height;
    const double thickness = end == areas.size() ? left : std::min(left, side > 0 ? sum / side : 0);
    double at = wide ? rest.y : rest.x;
    const double rowEnd = wide ? rest.bottom() : rest.right();
    for (size_t k = i; k < end; ++k) {
      const double next =
          k + 1 == end ? rowEnd : std::min(rowEnd, at + (thickness > 0 ? areas[k] / thickness : 0));
      tiles[k] =
          wide ? Rect{rest.x, at, thickness, next - at} : Rect{at, rest.y, next - at, thickness};
      at = next;
    }
    if (wide) {
      rest.x += thickness;
      rest.width = std::max(0.0, rest.width - thickness);
    } else {
      rest.y += thickness;
      rest.height = std::max(0.0, rest.height - thickness);
    }
    i = end;
  }
}

}  // namespace tallyfin::map
