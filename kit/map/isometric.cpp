#include "kit/map/isometric.h"

#include <algorithm>

namespace tallyfin::map {
namespace {

constexpr double kCos30 = 0.8660254037844386;
constexpr double kSin30 = 0.5;

double cross(Point a, Point b, Point p) {
  return (b.x - a.x) * (p.y - a.y) - (b.y - a.y) * (p.x - a.x);
}

Rect outlineBounds(const std::array<Point, 6>& outline) {
  double left = outline[0].x, right = left, top = outline[0].y, bottom = top;
  for (const Point& q : outline) {
    left = std::min(left, q.x);
    right = std::max(right, q.x);
    top = std::min(top, q.y);
    bottom = std::max(bottom, q.y);
  }
  return {left, top, right - left, bottom - top};
}

}  // namespace

Box lerp(const Box& from, const Box& to, double t) {
  return {lerp(from.x, to.x, t),         lerp(from.y, to.y, t),
          lerp(from.z, to.z, t),         lerp(from.width, to.width, t),
          lerp(from.depth, to.depth, t), lerp(from.height, to.height, t)};
}

Point project(double x, double y, double z) { return {(x - y) * kCos30, (x + y) * kSin30 - z}; }

ProjectedBox project(const Box& b) {
  const double x0 = b.x, x1 = b.x + b.width, y0 = b.y, y1 = b.y + b.depth;
  const double z0 = b.z, z1 = b.z + b.height;
  ProjectedBox p;
  p.top = {project(x0, y0, z1), project(x1, y0, z1), project(x1, y1, z1), project(x0, y1, z1)};
  p.right = {project(x1, y0, z1), project(x1, y1, z1), project(x1, y1, z0), project(x1, y0, z0)};
  p.left = {project(x0, y1, z1), project(x1, y1, z1), project(x1, y1, z0), project(x0, y1, z0)};
  p.outline = {project(x0, y0, z1), project(x1, y0, z1), project(x1, y0, z0),
               project(x1, y1, z0), project(x0, y1, z0), project(x0, y1, z1)};
  return p;
}

Rect ProjectedBox::bounds() const { return outlineBounds(outline); }

bool insideOutline(const std::array<Point, 6>& outline, Point p) {
  // The bounds first: a flattened outline has no sides to be on the wrong side of.
  const Rect bounds = outlineBounds(outline);
  if (p.x < bounds.x || p.x > bounds.right() || p.y < bounds.y || p.y > bounds.bottom())
    return false;
  bool anyPositive = false, anyNegative = false;
  for (size_t i = 0; i < outline.size(); ++i) {
    const double side = cross(outline[i], outline[(i + 1) % outline.size()], p);
    anyPositive = anyPositive || side > 0;
    anyNegative = anyNegative || side < 0;
  }
  return !(anyPositive && anyNegative);
}

}  // namespace tallyfin::map
