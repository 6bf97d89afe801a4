#pragma once

// Boxes of the 3-D city and their isometric picture: the view looks down the
// diagonal from the high corner (large x, large y, above), so a box shows its top,
// its x = right face and its y = bottom face, and whatever lies at larger x + y is
// nearer and lower on the screen.

#include <array>

#include "kit/map/map_geometry.h"

namespace tallyfin::map {

// A box standing on the ground plane or on another box: footprint `x`, `y`,
// `width` (along x), `depth` (along y); from `z` up by `height`.
struct Box {
  double x = 0;
  double y = 0;
  double z = 0;
  double width = 0;
  double depth = 0;
  double height = 0;

  Rect footprint() const { return {x, y, width, depth}; }
  bool operator==(const Box&) const = default;
};

Box lerp(const Box& from, const Box& to, double t);

// A world point on the screen plane: x to the right, y down (higher z goes up).
Point project(double x, double y, double z);

// The three faces a box shows, and its outline (the union of the faces), in screen
// order around the outline.
struct ProjectedBox {
  std::array<Point, 4> top;
  std::array<Point, 4> right;  // the face at x + width
  std::array<Point, 4> left;   // the face at y + depth
  std::array<Point, 6> outline;

  Rect bounds() const;
};

ProjectedBox project(const Box& box);

// Whether a point lies in a convex outline, edges included.
bool insideOutline(const std::array<Point, 6>& outline, Point p);

}  // namespace tallyfin::map
