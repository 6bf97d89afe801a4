#include "app/views/map_frame.h"

#include <algorithm>

namespace tallyfin::app {
namespace {

// Room left around the sunburst and the city, so their edges never touch the frame.
constexpr double kMargin = 8;

}  // namespace

MapFrame::MapFrame(const MapPicture& picture, const QRectF& area) {
  switch (picture.kind) {
    case MapKind::sunburst: {
      scaleX_ = scaleY_ = std::max(1.0, std::min(area.width(), area.height()) / 2 - kMargin);
      offset_ = area.center();
      break;
    }
    case MapKind::treemap: {
      const map::Rect& b = picture.bounds;
      scaleX_ = b.width > 0 ? area.width() / b.width : 1;
      scaleY_ = b.height > 0 ? area.height() / b.height : 1;
      offset_ = {area.x() - b.x * scaleX_, area.y() - b.y * scaleY_};
      break;
    }
    case MapKind::city: {
      const map::Rect& b = std::get<map::CityLayout>(picture.layout).projectedBounds();
      const double width = std::max(1.0, area.width() - 2 * kMargin);
      const double height = std::max(1.0, area.height() - 2 * kMargin);
      scaleX_ = scaleY_ = b.empty() ? 1 : std::min(width / b.width, height / b.height);
      const QPointF centre = area.center();
      offset_ = {centre.x() - (b.x + b.width / 2) * scaleX_, centre.y() - (b.y + b.height / 2) * scaleY_};
      break;
    }
  }
}

MapFrame MapFrame::between(const MapFrame& from, const MapFrame& to, double t) {
  MapFrame frame;
  frame.offset_ = from.offset_ + (to.offset_ - from.offset_) * t;
  frame.scaleX_ = map::lerp(from.scaleX_, to.scaleX_, t);
  frame.scaleY_ = map::lerp(from.scaleY_, to.scaleY_, t);
  return frame;
}

}  // namespace tallyfin::app
