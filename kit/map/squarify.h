#pragma once

// The squarified treemap row layout: areas placed in rows along the shorter side
// of what is left, a row growing while that keeps its tiles closer to squares.

#include <vector>

#include "kit/map/map_geometry.h"

namespace tallyfin::map {

// Tiles for `areas` (positive, best largest first, summing to the area of `within`)
// that exactly fill `within`. Each row sits at the low side (left or top) of what
// is left, and its tiles run from low to high, so the tiles come out in an order in
// which every tile lies wholly on the low side of an axis-aligned line that all
// later tiles lie beyond: the back-to-front order of an isometric view from the
// high corner.
std::vector<Rect> squarify(const std::vector<double>& areas, const Rect& within);

// The same into a caller's vector, reused between folders.
void squarify(const std::vector<double>& areas, const Rect& within, std::vector<Rect>& tiles);

}  // namespace tallyfin::map
