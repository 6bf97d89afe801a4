#include "kit/map/sunburst.h"

#include <algorithm>
#include <cmath>
#include <deque>

#include "kit/base/saturating.h"

namespace tallyfin::map {
namespace {

// Rings of equal width: the centre and one per level down to the depth limit.
double ringWidthFor(int maxDepth) { return 1.0 / (std::max(maxDepth, 0) + 1); }

class Rings {
 public:
  explicit Rings(const SunburstOptions& options)
      : options_(options), width_(ringWidthFor(options.maxDepth)) {}

  std::vector<SunburstSegment> run(const DiskNode& root, std::string_view rootPath) {
    SunburstSegment centre;
    static_cast<MapEntry&>(centre) = rootEntry(root, rootPath);
    centre.ring = {0, kFullTurn, 0, width_};
    segments_.push_back(centre);
    open(0);
    return std::move(segments_);
  }

 private:
  Ring ringAt(int32_t depth, double start, double end) const {
    return {start, end, depth * width_, (depth + 1) * width_};
  }

  ChildSplit& split(size_t depth) {
    while (splits_.size() <= depth) splits_.emplace_back();
    return splits_[depth];
  }

  // Gives the children of segment `index` their share of its angle, in the folder's
  // order, then the merged small ones; bytes no child accounts for stay a gap.
  void open(size_t index) {
    const DiskNode* node = segments_[index].node;
    if (!node || node->children.empty() || segments_[index].aggregate()) return;
    const int32_t depth = segments_[index].depth;
    const int64_t total = layoutTotal(*node);
    if (total <= 0) return;
    if (depth >= options_.maxDepth) {
      segments_[index].childrenHidden = true;
      return;
    }
    const auto inherited = segments_[index].fileKind;
    const double start = segments_[index].ring.startAngle;
    const double perByte = segments_[index].ring.span() / static_cast<double>(total);
    ChildSplit& s = split(static_cast<size_t>(depth));
    splitChildren(*node, perByte, options_.minimumAngle, s);

    int64_t before = 0;  // bytes of the siblings placed so far: angles come from sums, not steps
    const auto place = [&](MapEntry entry, int64_t size) {
      SunburstSegment segment;
      static_cast<MapEntry&>(segment) = std::move(entry);
      const int64_t after = saturatingAdd(before, size);
      segment.ring = ringAt(depth + 1, start + static_cast<double>(before) * perByte,
                            start + static_cast<double>(after) * perByte);
      before = after;
      segments_.push_back(segment);
      return segments_.size() - 1;
    };
    const size_t first = segments_.size();
    for (const DiskNode* child : s.shown) {
      open(place(entryFor(*child, static_cast<int32_t>(index), depth + 1, inherited), child->size));
    }
    if (s.mergedSize > 0 && static_cast<double>(s.mergedSize) * perByte >= options_.minimumAngle) {
      place(mergedEntry(s, static_cast<int32_t>(index), depth + 1, inherited), s.mergedSize);
    }
    segments_[index].childrenHidden = segments_.size() == first;  // all too narrow to draw
  }

  const SunburstOptions& options_;
  double width_ = 1;
  std::vector<SunburstSegment> segments_;
  std::deque<ChildSplit> splits_;
};

}  // namespace

double angleOf(Point p) {
  double angle = std::atan2(p.x, -p.y);
  if (angle < 0) angle += kFullTurn;
  return angle >= kFullTurn ? 0 : angle;
}

bool holds(const Ring& ring, double radius, double angle) {
  return radius >= ring.innerRadius && radius < ring.outerRadius && angle >= ring.startAngle &&
         angle < ring.endAngle;
}

SunburstLayout::SunburstLayout(const DiskNode& root, std::string rootPath, int maxDepth,
                               std::vector<SunburstSegment> segments)
    : MapLayout(root, std::move(rootPath), std::move(segments)),
      ringWidth_(ringWidthFor(maxDepth)) {
  for (size_t i = 0; i < shapes_.size(); ++i) {
    const auto depth = static_cast<size_t>(shapes_[i].depth);
    if (rings_.size() <= depth) rings_.resize(depth + 1);
    rings_[depth].push_back(static_cast<uint32_t>(i));  // depth-first order: by angle per ring
  }
}

std::optional<size_t> SunburstLayout::hit(Point p) const {
  const double radius = std::hypot(p.x, p.y);
  const double angle = angleOf(p);
  const auto guess = static_cast<long>(std::floor(radius / ringWidth_));
  // The neighbouring rings too, in case rounding put the radius on the other side of an edge.
  for (long depth = std::max(guess - 1, 0L); depth <= guess + 1; ++depth) {
    if (depth >= static_cast<long>(rings_.size())) break;
    const auto& ring = rings_[static_cast<size_t>(depth)];
    auto after = std::upper_bound(ring.begin(), ring.end(), angle, [&](double a, uint32_t i) {
      return a < shapes_[i].ring.startAngle;
    });
    if (after == ring.begin()) continue;
    const size_t index = *(after - 1);
    if (holds(shapes_[index].ring, radius, angle)) return index;
  }
  return std::nullopt;
}

SunburstLayout sunburst(const DiskNode& root, std::string rootPath,
                        const SunburstOptions& options) {
  auto segments = Rings(options).run(root, rootPath);
  return SunburstLayout(root, std::move(rootPath), options.maxDepth, std::move(segments));
}

}  // namespace tallyfin::map
