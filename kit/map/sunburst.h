#pragma once

// The sunburst of the disk map: the folder laid out is the disc in the middle,
// each ring outwards one level deeper, each segment's angle in proportion to its size.
//
// Angles are radians, clockwise from 12 o'clock on a screen whose y axis points
// down; radii run from 0 at the centre to 1 at the outer edge of the deepest ring
// the caller allowed. A QPainter view scales by its radius R around its centre c and
// draws segment s as the annulus sector between radii R*inner and R*outer; Qt's
// angles (1/16 degree, counter-clockwise from 3 o'clock) are then
// 16 * (90 - degrees(end)) for the start and 16 * degrees(end - start) for the span.

#include <optional>
#include <string>
#include <vector>

#include "kit/map/map_geometry.h"
#include "kit/map/map_layout.h"

namespace tallyfin::map {

inline constexpr double kFullTurn = 6.283185307179586;

struct Ring {
  double startAngle = 0;
  double endAngle = 0;
  double innerRadius = 0;
  double outerRadius = 0;

  double span() const { return endAngle - startAngle; }
  bool operator==(const Ring&) const = default;
};

inline Ring lerp(const Ring& from, const Ring& to, double t) {
  return {lerp(from.startAngle, to.startAngle, t), lerp(from.endAngle, to.endAngle, t),
          lerp(from.innerRadius, to.innerRadius, t), lerp(from.outerRadius, to.outerRadius, t)};
}

struct SunburstSegment : MapEntry {
  Ring ring;
};

struct SunburstOptions {
  int maxDepth = 6;             // rings around the centre
  double minimumAngle = 0.004;  // radians; narrower segments merge into "N smaller items"
};

class SunburstLayout : public MapLayout<SunburstSegment> {
 public:
  SunburstLayout() = default;
  SunburstLayout(const DiskNode& root, std::string rootPath, int maxDepth,
                 std::vector<SunburstSegment> segments);

  // The radial width of one ring.
  double ringWidth() const { return ringWidth_; }

  // The segment under a point given relative to the centre in units of the radius
  // (y down); none in a gap or outside the outer ring.
  std::optional<size_t> hit(Point p) const;

 private:
  double ringWidth_ = 1;
  std::vector<std::vector<uint32_t>> rings_;  // per depth, segments by increasing angle
};

// The sunburst of `root` (found at `rootPath`).
SunburstLayout sunburst(const DiskNode& root, std::string rootPath,
                        const SunburstOptions& options = {});
SunburstLayout sunburst(const DiskNode&& root, std::string rootPath,
                        const SunburstOptions& options = {}) =
    delete;  // the layout borrows the tree

// The angle of a point around the centre, as the layout measures it, in [0, 2π).
double angleOf(Point p);

// Whether a ring holds a point given by its radius and angle.
bool holds(const Ring& ring, double radius, double angle);

}  // namespace tallyfin::map
