#include "app/views/map_painter.h"

#include <QFontMetricsF>
#include <QPainterPath>

#include <cmath>

#include "app/views/text.h"

namespace tallyfin::app {
namespace {

// Points along an arc: one every few pixels keeps a ring round without wasting time
// on segments a pixel or two wide.
constexpr double kArcStep = 5;
// Tiles and labels narrower than this are left without text.
constexpr double kNarrowestLabel = 36;
// Shapes smaller than this on screen are not worth a fill of their own.
constexpr double kSmallestShape = 0.6;

// The outline of a ring segment in the widget: its outer arc, then its inner arc
// back (or the centre, for a slice of the disc).
void ringPolygon(const map::Ring& ring, const MapFrame& frame, QPolygonF& points) {
  points.clear();
  const double span = ring.span();
  const auto arc = [&](double radius, bool backwards) {
    const int steps = std::max(1, static_cast<int>(std::ceil(span * radius * frame.scale() / kArcStep)));
    for (int i = 0; i <= steps; ++i) {
      const double share = static_cast<double>(backwards ? steps - i : i) / steps;
      const double angle = ring.startAngle + span * share;
      points.append(frame.toWidget({std::sin(angle) * radius, -std::cos(angle) * radius}));
    }
  };
  arc(ring.outerRadius, false);
  if (ring.innerRadius > 0) {
    arc(ring.innerRadius, true);
  } else {
    points.append(frame.toWidget(map::Point{0, 0}));
  }
}

// Draws shapes of one kind of geometry in widget space.
class ShapeDrawer {
 public:
  ShapeDrawer(QPainter& painter, const MapFrame& frame) : painter_(painter), frame_(frame) {}

  void fillRing(const map::Ring& r, const QColor& fill) {
    if (r.span() * r.outerRadius * frame_.scale() < kSmallestShape) return;
    painter_.setBrush(fill);
    if (r.innerRadius <= 0 && r.span() >= map::kFullTurn - 1e-9) {
      const double radius = r.outerRadius * frame_.scale();
      painter_.drawEllipse(frame_.toWidget(map::Point{0, 0}), radius, radius);
      return;
    }
    ringPolygon(r, frame_, points_);
    painter_.drawPolygon(points_);
  }

  void fillTile(const map::Rect& r, const QColor& fill, const QColor& edge) {
    const QRectF tile = frame_.toWidgetRect(r);
    if (tile.width() < kSmallestShape || tile.height() < kSmallestShape) return;
    painter_.fillRect(tile, edge);
    if (tile.width() > 2 && tile.height() > 2) painter_.fillRect(tile.adjusted(1, 1, -1, -1), fill);
  }

  std::array<QPointF, 4> face(const std::array<map::Point, 4>& corners) const {
    return {frame_.toWidget(corners[0]), frame_.toWidget(corners[1]), frame_.toWidget(corners[2]),
            frame_.toWidget(corners[3])};
  }

  void fillBox(const map::Box& b, const MapColorTable::Shade& shade) {
    const map::ProjectedBox projected = map::project(b);
    const map::Rect bounds = projected.bounds();
    if (bounds.width * frame_.scale() < kSmallestShape && bounds.height * frame_.scale() < kSmallestShape) return;
    for (const auto& [corners, color] : {std::pair{&projected.left, &shade.left},
                                         std::pair{&projected.right, &shade.right},
                                         std::pair{&projected.top, &shade.fill}}) {
      const auto points = face(*corners);
      painter_.setBrush(*color);
      painter_.drawConvexPolygon(points.data(), static_cast<int>(points.size()));
    }
  }

 private:
  QPainter& painter_;
  const MapFrame& frame_;
  QPolygonF points_;
};

QString sizeLabel(const map::MapEntry& entry) { return qstr(map::label(entry)) + "  " + bytesText(entry.size); }

void labelTiles(QPainter& painter, const map::TreemapLayout& layout, const MapFrame& frame,
                const MapColorTable& colors) {
  const QFontMetricsF metrics(painter.font());
  const double lineHeight = metrics.height();
  painter.setPen(colors.text());
  const auto& tiles = layout.shapes();
  for (const auto& tile : tiles) {
    const bool inside = tile.content.empty();
    const QRectF band = frame.toWidgetRect(inside ? tile.rect : map::headerBand(tile)).adjusted(4, 1, -3, 0);
    if (band.width() < kNarrowestLabel || band.height() < lineHeight) continue;
    const QString text = metrics.elidedText(sizeLabel(tile), Qt::ElideMiddle, band.width());
    painter.drawText(band, Qt::AlignLeft | Qt::AlignTop | Qt::TextSingleLine, text);
  }
}

// The folder laid out, named in the middle of the sunburst.
void labelCentre(QPainter& painter, const MapPicture& picture, const MapFrame& frame, const MapColorTable& colors) {
  const auto& layout = std::get<map::SunburstLayout>(picture.layout);
  if (layout.shapes().empty()) return;
  const double radius = layout.shapes()[0].ring.outerRadius * frame.scale();
  const QRectF disc(frame.toWidget(map::Point{0, 0}) - QPointF(radius * 0.8, radius * 0.5), QSizeF(radius * 1.6, radius));
  const QFontMetricsF metrics(painter.font());
  if (disc.width() < kNarrowestLabel || disc.height() < 2 * metrics.height()) return;
  painter.setPen(colors.text());
  const QString name = metrics.elidedText(qstr(map::label(layout.shapes()[0])), Qt::ElideMiddle, disc.width());
  painter.drawText(disc, Qt::AlignCenter, name + "\n" + bytesText(layout.shapes()[0].size));
}

template <class Draw>
void forEachShape(const MapPicture& picture, Draw draw) {
  std::visit(
      [&](const auto& layout) {
        const auto& shapes = layout.shapes();
        for (size_t i = 0; i < shapes.size(); ++i) draw(i, shapes[i]);
      },
      picture.layout);
}

void drawShape(ShapeDrawer& drawer, const map::SunburstSegment& s, const MapColorTable& colors) {
  drawer.fillRing(s.ring, colors.of(s).fill);
}
void drawShape(ShapeDrawer& drawer, const map::TreemapTile& s, const MapColorTable& colors) {
  drawer.fillTile(s.rect, colors.of(s).fill, colors.edge());
}
void drawShape(ShapeDrawer& drawer, const map::CityBox& s, const MapColorTable& colors) {
  drawer.fillBox(s.box, colors.of(s));
}

void prepare(QPainter& painter, MapKind kind, const MapColorTable& colors) {
  // Rings need smooth edges; tiles are pixel-aligned rectangles; the city's faces
  // meet edge to edge, where smoothing costs the most and shows the least.
  painter.setRenderHint(QPainter::Antialiasing, kind == MapKind::sunburst);
  if (kind == MapKind::sunburst) {
    painter.setPen(QPen(colors.edge(), 1));
  } else {
    painter.setPen(Qt::NoPen);
  }
}

}  // namespace

QPainterPath shapeOutline(const MapPicture& picture, const MapFrame& frame, size_t index) {
  QPainterPath path;
  std::visit(
      [&](const auto& layout) {
        using Layout = std::decay_t<decltype(layout)>;
        const auto& shape = layout.shapes()[index];
        if constexpr (std::is_same_v<Layout, map::SunburstLayout>) {
          QPolygonF points;
          ringPolygon(shape.ring, frame, points);
          path.addPolygon(points);
          path.closeSubpath();
        } else if constexpr (std::is_same_v<Layout, map::TreemapLayout>) {
          path.addRect(frame.toWidgetRect(shape.rect));
        } else {
          const auto outline = map::project(shape.box).outline;
          QPolygonF polygon;
          for (const map::Point& p : outline) polygon.append(frame.toWidget(p));
          path.addPolygon(polygon);
          path.closeSubpath();
        }
      },
      picture.layout);
  return path;
}

void paintMap(QPainter& painter, const MapPicture& picture, const MapFrame& frame, const MapColorTable& colors,
              const MapMarks& marks) {
  painter.save();
  prepare(painter, picture.kind, colors);
  ShapeDrawer drawer(painter, frame);
  forEachShape(picture, [&](size_t, const auto& shape) { drawShape(drawer, shape, colors); });

  if (picture.kind == MapKind::treemap) {
    labelTiles(painter, std::get<map::TreemapLayout>(picture.layout), frame, colors);
  } else if (picture.kind == MapKind::sunburst) {
    labelCentre(painter, picture, frame, colors);
  }

  painter.setRenderHint(QPainter::Antialiasing, true);
  if (marks.removed) {
    painter.setPen(Qt::NoPen);
    painter.setBrush(colors.removed());
    for (size_t i = 0; i < marks.removed->size() && i < picture.size(); ++i) {
      if ((*marks.removed)[i]) painter.drawPath(shapeOutline(picture, frame, i));
    }
  }
  painter.setBrush(Qt::NoBrush);
  if (marks.hover && *marks.hover < picture.size()) {
    QColor soft = colors.cursor();
    soft.setAlpha(150);
    painter.setPen(QPen(soft, 1.5));
    painter.drawPath(shapeOutline(picture, frame, *marks.hover));
  }
  if (marks.cursor && *marks.cursor < picture.size()) {
    painter.setPen(QPen(colors.cursor(), 2.5));
    painter.drawPath(shapeOutline(picture, frame, *marks.cursor));
  }
  painter.restore();
}

std::optional<MapTransition> MapTransition::between(std::shared_ptr<const MapPicture> from,
                                                    std::shared_ptr<const MapPicture> to) {
  if (!from || !to || from->kind != to->kind || &from->tree() != &to->tree()) return std::nullopt;
  MapTransition transition;
  std::visit(
      [&](const auto& old) {
        using Layout = std::decay_t<decltype(old)>;
        transition.tweens_ = map::transition(old, std::get<Layout>(to->layout));
      },
      from->layout);
  transition.from_ = std::move(from);
  transition.to_ = std::move(to);
  return transition;
}

void MapTransition::paint(QPainter& painter, const QRectF& area, const MapColorTable& colors, double t) const {
  painter.save();
  prepare(painter, to_->kind, colors);
  const MapFrame frame = MapFrame::between(MapFrame(*from_, area), MapFrame(*to_, area), t);
  ShapeDrawer drawer(painter, frame);
  std::visit(
      [&](const auto& tweens) {
        for (const auto& tween : tweens) {
          const map::MapEntry& entry = tween.to ? to_->entry(*tween.to) : from_->entry(*tween.from);
          painter.setOpacity(map::opacity(tween, t));
          const auto geometry = map::at(tween, t);
          using Geometry = std::decay_t<decltype(geometry)>;
          if constexpr (std::is_same_v<Geometry, map::Ring>) {
            drawer.fillRing(geometry, colors.of(entry).fill);
          } else if constexpr (std::is_same_v<Geometry, map::Rect>) {
            drawer.fillTile(geometry, colors.of(entry).fill, colors.edge());
          } else {
            drawer.fillBox(geometry, colors.of(entry));
          }
        }
      },
      tweens_);
  painter.restore();
}

}  // namespace tallyfin::app
