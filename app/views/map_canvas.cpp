#include "app/views/map_canvas.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <cmath>

#include "kit/base/paths.h"

namespace tallyfin::app {
namespace {

constexpr int kZoomMilliseconds = 320;

}  // namespace

MapCanvas::MapCanvas(MapModel& map, QWidget* parent) : QWidget(parent), map_(map) {
  setFocusPolicy(Qt::StrongFocus);
  setMouseTracking(true);
  setMinimumSize(320, 240);
  setAccessibleName("Disk map");
  setAccessibleDescription(
      "Arrow keys move between items, Enter zooms into a folder, Backspace zooms out, the menu key shows actions");
  animation_.setStartValue(0.0);
  animation_.setEndValue(1.0);
  animation_.setDuration(kZoomMilliseconds);
  animation_.setEasingCurve(QEasingCurve::OutCubic);
  connect(&animation_, &QVariantAnimation::valueChanged, this, [this] { update(); });
  connect(&animation_, &QVariantAnimation::finished, this, [this] {
    transition_.reset();
    update();
  });
  connect(&map_, &MapModel::layoutChanged, this, &MapCanvas::showPicture);
  connect(&map_, &MapModel::colorsChanged, this, [this] {
    colorsStale_ = true;
    update();
  });
  showPicture(false);
}

void MapCanvas::showPicture(bool zoomed) {
  const auto& next = map_.mapLayout();
  if (zoomed && picture_ && next && next != picture_) {
    transition_ = MapTransition::between(picture_, next);
    if (transition_) animation_.start();
  } else {
    animation_.stop();
    transition_.reset();
  }
  if (!picture_ || !next || picture_->reportDate() != next->reportDate()) colorsStale_ = true;
  picture_ = next;
  hover_.reset();
  cursor_.reset();
  if (picture_) {
    // A zoom puts the cursor where the model says (the largest item when it says
    // nothing); a new layout or size of the same folder keeps it where it was.
    const std::string wanted = zoomed ? map_.focus() : cursorPath_;
    if (!wanted.empty()) cursor_ = picture_->locate(wanted);
    if (cursor_ == 0u) cursor_.reset();
    if (!cursor_ && picture_->size() > 1) cursor_ = 1;
  }
  cursorPath_ = cursor_ ? picture_->path(*cursor_) : std::string();
  markRemoved();
  emit hoverChanged();
  emit cursorChanged();
  update();
}

void MapCanvas::setCursorAt(size_t index) {
  if (!picture_ || index >= picture_->size() || cursor_ == index) return;
  cursor_ = index;
  cursorPath_ = picture_->path(index);
  emit cursorChanged();
  update();
}

void MapCanvas::setRemoved(std::set<std::string> removed) {
  removedPaths_ = std::move(removed);
  markRemoved();
  update();
}

void MapCanvas::markRemoved() {
  removed_.clear();
  if (!picture_ || removedPaths_.empty()) return;
  removed_.assign(picture_->size(), false);
  for (const auto& path : removedPaths_) {
    if (path == picture_->rootPath() || isInside(picture_->rootPath(), path)) {
      removed_[0] = true;
      continue;
    }
    const auto shown = picture_->locate(path);
    if (shown && picture_->path(*shown) == path) removed_[*shown] = true;
  }
  // Parents come before their children, so one pass carries a mark down.
  for (size_t i = 1; i < removed_.size(); ++i) {
    const int32_t parent = picture_->entry(i).parent;
    if (parent >= 0 && removed_[static_cast<size_t>(parent)]) removed_[i] = true;
  }
}

void MapCanvas::setEmptyText(const QString& text) {
  emptyText_ = text;
  update();
}

MapFrame MapCanvas::frame() const { return picture_ ? MapFrame(*picture_, QRectF(rect())) : MapFrame(); }

const MapColorTable& MapCanvas::colors() {
  if (colorsStale_ || !colors_) {
    colors_.emplace(map_.colors(), palette(), picture_ ? picture_->reportDate() : 0);
    colorsStale_ = false;
  }
  return *colors_;
}

QPointF MapCanvas::pointOf(size_t index) const {
  const MapFrame f = frame();
  return std::visit(
      [&](const auto& layout) -> QPointF {
        using Layout = std::decay_t<decltype(layout)>;
        const auto& shape = layout.shapes()[index];
        if constexpr (std::is_same_v<Layout, map::SunburstLayout>) {
          const double angle = (shape.ring.startAngle + shape.ring.endAngle) / 2;
          const double radius = (shape.ring.innerRadius + shape.ring.outerRadius) / 2;
          return f.toWidget({std::sin(angle) * radius, -std::cos(angle) * radius});
        } else if constexpr (std::is_same_v<Layout, map::TreemapLayout>) {
          // A folder shows in its name band; its children cover the rest.
          return f.toWidgetRect(shape.content.empty() ? shape.rect : map::headerBand(shape)).center();
        } else {
          // A building's roof; a block's rim at its nearest corner, in front of what stands on it.
          const auto& top = map::project(shape.box).top;
          const double inward = shape.block ? 0.01 : 0.5;
          return f.toWidget({top[2].x + (top[0].x - top[2].x) * inward, top[2].y + (top[0].y - top[2].y) * inward});
        }
      },
      picture_->layout);
}

std::optional<size_t> MapCanvas::hitAt(QPointF point) const {
  if (!picture_ || transition_) return std::nullopt;
  return picture_->hit(frame().toLayout(point));
}

void MapCanvas::setHover(std::optional<size_t> index) {
  if (index == hover_) return;
  hover_ = index;
  emit hoverChanged();
  update();
}

void MapCanvas::activate(size_t index) {
  if (!picture_ || index == 0) return;
  const map::MapEntry& entry = picture_->entry(index);
  if (entry.isFolder()) map_.zoomInto(picture_->path(index));
}

void MapCanvas::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), palette().color(QPalette::Window));
  if (!picture_) {
    painter.setPen(palette().color(QPalette::PlaceholderText));
    painter.drawText(rect().adjusted(24, 24, -24, -24), Qt::AlignCenter | Qt::TextWordWrap, emptyText_);
    return;
  }
  painter.setFont(font());
  const MapColorTable& table = colors();
  if (transition_) {
    transition_->paint(painter, QRectF(rect()), table, animation_.currentValue().toDouble());
    return;
  }
  paintMap(painter, *picture_, frame(), table,
           {hasFocus() || !hover_ ? cursor_ : std::nullopt, hover_, removed_.empty() ? nullptr : &removed_});
}

void MapCanvas::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  map_.setViewport(width(), height());
}

void MapCanvas::mouseMoveEvent(QMouseEvent* event) { setHover(hitAt(event->position())); }

void MapCanvas::mousePressEvent(QMouseEvent* event) {
  if (event->button() == Qt::BackButton) {
    map_.zoomOut();
    return;
  }
  const auto hit = hitAt(event->position());
  if (!hit) return;
  setCursorAt(*hit);
  if (event->button() == Qt::LeftButton) activate(*hit);
}

void MapCanvas::leaveEvent(QEvent* event) {
  QWidget::leaveEvent(event);
  setHover(std::nullopt);
}

void MapCanvas::keyPressEvent(QKeyEvent* event) {
  switch (event->key()) {
    case Qt::Key_Left:
    case Qt::Key_Up:
    case Qt::Key_Right:
    case Qt::Key_Down: {
      const int step = event->key() == Qt::Key_Left || event->key() == Qt::Key_Up ? -1 : 1;
      if (picture_ && cursor_) {
        if (const auto next = picture_->sibling(*cursor_, step)) setCursorAt(*next);
      }
      return;
    }
    case Qt::Key_Return:
    case Qt::Key_Enter:
      if (cursor_) activate(*cursor_);
      return;
    case Qt::Key_Backspace:
      map_.zoomOut();
      return;
    default:
      QWidget::keyPressEvent(event);
  }
}

void MapCanvas::contextMenuEvent(QContextMenuEvent* event) {
  std::optional<size_t> index = cursor_;
  QPoint at = event->globalPos();
  if (event->reason() == QContextMenuEvent::Mouse) {
    index = hitAt(event->pos());
    if (index) setCursorAt(*index);
  } else if (index) {
    at = mapToGlobal(pointOf(*index).toPoint());
  }
  if (index) emit menuRequested(*index, at);
}

void MapCanvas::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::PaletteChange) colorsStale_ = true;
}

}  // namespace tallyfin::app
