#pragma once

// The animation between two layouts of the same tree: zooming into a folder,
// back out to its parent, or laying out again at another size or depth.
//
// Shapes of the same node (or the same folder's merged group) move from their old
// geometry to their new one. The rest move with the zoom: the folder that is the
// new root (zoom in), or the old root found in the new layout (zoom out), defines
// how the picture is stretched, and shapes that appear start where that stretch
// would have put them in the old picture, shapes that disappear end where it
// carries them. Without such a folder they simply fade.
//
// A view keeps the tweens for the animation's length and, each frame with t going
// from 0 to 1 (eased as it likes), draws `at(tween, t)` with `opacity(tween, t)`:
// the disappearing shapes come first in the list, then the new layout's shapes in
// its drawing order.

#include <optional>
#include <vector>

#include "kit/map/city.h"
#include "kit/map/sunburst.h"
#include "kit/map/treemap.h"

namespace tallyfin::map {

template <class Geometry>
struct Tween {
  std::optional<size_t> from;  // the shape in the old layout; none for one that appears
  std::optional<size_t> to;    // the shape in the new layout; none for one that disappears
  Geometry start;
  Geometry end;
};

template <class Geometry>
Geometry at(const Tween<Geometry>& tween, double t) {
  return lerp(tween.start, tween.end, t);
}

template <class Geometry>
double opacity(const Tween<Geometry>& tween, double t) {
  if (!tween.from) return t;
  if (!tween.to) return 1 - t;
  return 1;
}

std::vector<Tween<Rect>> transition(const TreemapLayout& from, const TreemapLayout& to);
std::vector<Tween<Ring>> transition(const SunburstLayout& from, const SunburstLayout& to);
std::vector<Tween<Box>> transition(const CityLayout& from, const CityLayout& to);

}  // namespace tallyfin::map
