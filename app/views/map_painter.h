#pragma once

// Draws a laid-out disk map with QPainter: the sunburst's ring segments, the
// treemap's tiles with their folder names, the city's boxes in isometric view;
// then the cursor, the item under the mouse and what went to the Trash since the
// scan. One picture per paint, or one frame of the animation between two.

#include <QPainter>

#include <memory>
#include <optional>
#include <variant>
#include <vector>

#include "app/model/map_picture.h"
#include "app/views/map_colors.h"
#include "app/views/map_frame.h"
#include "kit/map/transition.h"

namespace tallyfin::app {

struct MapMarks {
  std::optional<size_t> cursor;
  std::optional<size_t> hover;
  // Per shape: moved to the Trash since the scan (itself or a folder it is in).
  const std::vector<bool>* removed = nullptr;
};

void paintMap(QPainter& painter, const MapPicture& picture, const MapFrame& frame, const MapColorTable& colors,
              const MapMarks& marks = {});

// The outline of a shape in the widget, for the cursor and for tests that aim at it.
QPainterPath shapeOutline(const MapPicture& picture, const MapFrame& frame, size_t index);

// A zoom in or out, animated: shapes of the same nodes move from where they were
// to where they are now; the rest come or go with the zoom, fading.
class MapTransition {
 public:
  // None when the two cannot be animated: other layouts, or other trees.
  static std::optional<MapTransition> between(std::shared_ptr<const MapPicture> from,
                                              std::shared_ptr<const MapPicture> to);

  // The frame at `t` (0: the old picture, 1: the new one).
  void paint(QPainter& painter, const QRectF& area, const MapColorTable& colors, double t) const;

 private:
  MapTransition() = default;

  std::shared_ptr<const MapPicture> from_;
  std::shared_ptr<const MapPicture> to_;
  std::variant<std::vector<map::Tween<map::Ring>>, std::vector<map::Tween<map::Rect>>,
               std::vector<map::Tween<map::Box>>>
      tweens_;
};

}  // namespace tallyfin::app
