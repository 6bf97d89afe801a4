#pragma once

// Where a laid-out map lands in a widget, and back: the sunburst's unit disc
// scaled about the centre, the treemap's pixels stretched to the area it now has,
// the city's projected picture fitted into the area. Hit testing maps the mouse
// back with the same frame the paint used, so both always agree.

#include <QPointF>
#include <QRectF>

#include "app/model/map_picture.h"

namespace tallyfin::app {

class MapFrame {
 public:
  MapFrame() = default;
  MapFrame(const MapPicture& picture, const QRectF& area);

  QPointF toWidget(map::Point p) const { return {offset_.x() + p.x * scaleX_, offset_.y() + p.y * scaleY_}; }
  map::Point toLayout(QPointF p) const {
    return {(p.x() - offset_.x()) / scaleX_, (p.y() - offset_.y()) / scaleY_};
  }
  QRectF toWidgetRect(const map::Rect& r) const {
    return {toWidget(map::Point{r.x, r.y}), QSizeF(r.width * scaleX_, r.height * scaleY_)};
  }
  // Pixels per unit of the layout's plane (the sunburst's radius in pixels).
  double scale() const { return scaleX_; }

  // The frame part way from one to the other, for the frames of an animation.
  static MapFrame between(const MapFrame& from, const MapFrame& to, double t);

 private:
  QPointF offset_;
  double scaleX_ = 1;
  double scaleY_ = 1;
};

}  // namespace tallyfin::app
