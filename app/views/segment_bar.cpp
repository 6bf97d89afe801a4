#include "app/views/segment_bar.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>

#include "app/views/colors.h"
#include "app/views/text.h"

namespace tallyfin::app {

SegmentBar::SegmentBar(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
}

void SegmentBar::setSegments(std::vector<Segment> segments, int64_t total) {
  segments_ = std::move(segments);
  total_ = total;
  QStringList parts;
  for (const auto& segment : segments_) parts << segment.label + " " + bytesText(segment.size);
  setAccessibleDescription(parts.join(", "));
  update();
}

QColor SegmentBar::colorOf(const Segment& segment) const {
  switch (segment.tint) {
    case Segment::Tint::used: return palette().color(QPalette::Highlight);
    case Segment::Tint::free: return freeColor(palette());
    case Segment::Tint::series: break;
  }
  return seriesColor(segment.series, palette());
}

QSize SegmentBar::sizeHint() const { return {400, 22}; }

QSize SegmentBar::minimumSizeHint() const { return {120, 22}; }

void SegmentBar::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QRectF bar = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
  QPainterPath outline;
  outline.addRoundedRect(bar, 5, 5);
  painter.setClipPath(outline);
  painter.fillRect(bar, palette().color(QPalette::Base));

  int64_t sum = 0;
  for (const auto& segment : segments_) sum += std::max<int64_t>(segment.size, 0);
  const double whole = static_cast<double>(std::max(total_, sum));
  if (whole > 0) {
    double x = bar.left();
    for (const auto& segment : segments_) {
      const double width = bar.width() * static_cast<double>(std::max<int64_t>(segment.size, 0)) / whole;
      painter.fillRect(QRectF(x, bar.top(), width, bar.height()), colorOf(segment));
      x += width;
      // A thin gap in the window's colour keeps neighbours of similar colour apart.
      if (width > 2) painter.fillRect(QRectF(x - 1, bar.top(), 1, bar.height()), palette().color(QPalette::Window));
    }
  }
  painter.setClipping(false);
  painter.setPen(QPen(palette().color(QPalette::Mid), 1));
  painter.setBrush(Qt::NoBrush);
  painter.drawPath(outline);
}

}  // namespace tallyfin::app
