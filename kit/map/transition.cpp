#include "kit/map/transition.h"

#include <algorithm>
#include <functional>
#include <unordered_map>
#include <utility>

namespace tallyfin::map {
namespace {

// A shape's identity across layouts: its node, or for a merged group its folder's node.
struct ShapeKey {
  const DiskNode* node = nullptr;
  bool merged = false;
  bool operator==(const ShapeKey&) const = default;
};

struct ShapeKeyHash {
  size_t operator()(const ShapeKey& key) const {
    return std::hash<const void*>()(key.node) ^ static_cast<size_t>(key.merged);
  }
};

template <class Shape>
ShapeKey keyOf(const std::vector<Shape>& shapes, size_t index) {
  const Shape& shape = shapes[index];
  if (shape.mergedCount == 0) return {shape.node, false};
  return {shape.parent >= 0 ? shapes[static_cast<size_t>(shape.parent)].node : nullptr, true};
}

// The stretch that carries the anchor's geometry `from` onto `to`, applied to `r`.
Rect stretch(const Rect& r, const Rect& from, const Rect& to) {
  const double sx = from.width > 0 ? to.width / from.width : 1;
  const double sy = from.height > 0 ? to.height / from.height : 1;
  return {to.x + (r.x - from.x) * sx, to.y + (r.y - from.y) * sy, r.width * sx, r.height * sy};
}

// Angles stretch with the anchor's span and rings move in or out with its depth;
// whatever leaves the disc is pressed flat at its edge.
Ring stretch(const Ring& r, const Ring& from, const Ring& to) {
  const double scale = from.span() > 0 ? to.span() / from.span() : 1;
  const double shift = to.innerRadius - from.innerRadius;
  const auto angle = [&](double a) {
    return std::clamp(to.startAngle + (a - from.startAngle) * scale, 0.0, kFullTurn);
  };
  const auto radius = [&](double at) { return std::clamp(at + shift, 0.0, 1.0); };
  return {angle(r.startAngle), angle(r.endAngle), radius(r.innerRadius), radius(r.outerRadius)};
}

// Footprints stretch like treemap tiles; heights are ages and stay, bases move
// with the anchor's level.
Box stretch(const Box& b, const Box& from, const Box& to) {
  const Rect footprint = stretch(b.footprint(), from.footprint(), to.footprint());
  return {footprint.x,     footprint.y,      b.z + (to.z - from.z),
          footprint.width, footprint.height, b.height};
}

template <class Geometry, class Layout, class GeometryOf>
std::vector<Tween<Geometry>> tweens(const Layout& from, const Layout& to, GeometryOf geometryOf) {
  const auto& old = from.shapes();
  const auto& fresh = to.shapes();
  std::unordered_map<ShapeKey, size_t, ShapeKeyHash> oldIndex;
  for (size_t i = 0; i < old.size(); ++i) oldIndex.emplace(keyOf(old, i), i);

  std::optional<std::pair<Geometry, Geometry>> anchor;
  if (!fresh.empty() && !old.empty()) {
    if (auto it = oldIndex.find(keyOf(fresh, 0)); it != oldIndex.end()) {
      anchor.emplace(geometryOf(old[it->second]), geometryOf(fresh[0]));  // zoom in
    } else {
      const ShapeKey oldRoot = keyOf(old, 0);
      for (size_t k = 0; k < fresh.size() && !anchor; ++k) {
        if (keyOf(fresh, k) == oldRoot) anchor.emplace(geometryOf(old[0]), geometryOf(fresh[k]));
      }
    }
  }

  std::vector<std::optional<size_t>> match(fresh.size());
  std::vector<bool> stays(old.size(), false);
  for (size_t k = 0; k < fresh.size(); ++k) {
    if (auto it = oldIndex.find(keyOf(fresh, k)); it != oldIndex.end()) {
      match[k] = it->second;
      stays[it->second] = true;
    }
  }

  std::vector<Tween<Geometry>> result;
  result.reserve(fresh.size() + old.size());
  for (size_t i = 0; i < old.size(); ++i) {
    if (stays[i]) continue;
    const Geometry g = geometryOf(old[i]);
    result.push_back({i, std::nullopt, g, anchor ? stretch(g, anchor->first, anchor->second) : g});
  }
  for (size_t k = 0; k < fresh.size(); ++k) {
    const Geometry g = geometryOf(fresh[k]);
    if (match[k]) {
      result.push_back({match[k], k, geometryOf(old[*match[k]]), g});
    } else {
      result.push_back(
          {std::nullopt, k, anchor ? stretch(g, anchor->second, anchor->first) : g, g});
    }
  }
  return result;
}

}  // namespace

std::vector<Tween<Rect>> transition(const TreemapLayout& from, const TreemapLayout& to) {
  return tweens<Rect>(from, to, [](const TreemapTile& tile) { return tile.rect; });
}

std::vector<Tween<Ring>> transition(const SunburstLayout& from, const SunburstLayout& to) {
  return tweens<Ring>(from, to, [](const SunburstSegment& segment) { return segment.ring; });
}

std::vector<Tween<Box>> transition(const CityLayout& from, const CityLayout& to) {
  return tweens<Box>(from, to, [](const CityBox& box) { return box.box; });
}

}  // namespace tallyfin::map
