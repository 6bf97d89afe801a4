#pragma once

// Plain geometry of the disk map: points and axis-aligned rectangles in whatever
// units the caller lays out in (pixels for a treemap, world units for the city).

#include <algorithm>

namespace tallyfin::map {

struct Point {
  double x = 0;
  double y = 0;
  bool operator==(const Point&) const = default;
};

struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  double right() const { return x + width; }
  double bottom() const { return y + height; }
  double area() const { return width * height; }
  bool empty() const { return width <= 0 || height <= 0; }

  // Half-open, so that a point on the edge two tiles share belongs to one of them.
  bool contains(Point p) const {
    return p.x >= x && p.x < x + width && p.y >= y && p.y < y + height;
  }

  bool operator==(const Rect&) const = default;
};

inline double lerp(double from, double to, double t) { return from + (to - from) * t; }

inline Rect lerp(const Rect& from, const Rect& to, double t) {
  return {lerp(from.x, to.x, t), lerp(from.y, to.y, t), lerp(from.width, to.width, t),
          lerp(from.height, to.height, t)};
}

// The rectangle scaled by `factor` about its centre.
inline Rect scaledAboutCentre(const Rect& r, double factor) {
  const double w = r.width * factor, h = r.height * factor;
  return {r.x + (r.width - w) / 2, r.y + (r.height - h) / 2, w, h};
}

// The rectangle moved in by `left`, `top`, `right` and `bottom`; empty when nothing is left.
inline Rect inset(const Rect& r, double left, double top, double right, double bottom) {
  return {r.x + left, r.y + top, std::max(0.0, r.width - left - right),
          std::max(0.0, r.height - top - bottom)};
}

// Intersection test for closed rectangles (touching counts).
inline bool touches(const Rect& a, const Rect& b) {
  return a.x <= b.right() && b.x <= a.right() && a.y <= b.bottom() && b.y <= a.bottom();
}

}  // namespace tallyfin::map
