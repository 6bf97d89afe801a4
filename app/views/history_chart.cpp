#include "app/views/history_chart.h"

#include <QHelpEvent>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "app/views/colors.h"
#include "app/views/text.h"

namespace tallyfin::app {
namespace {

constexpr double kLeftMargin = 72;
constexpr double kBottomMargin = 24;
constexpr double kTopMargin = 10;
constexpr double kRightMargin = 12;

QString describe(const HistoryEntry& entry) {
  return dateText(entry.date) + ": " + bytesText(entry.used) + " used, " + bytesText(entry.free) + " free";
}

}  // namespace

HistoryChart::HistoryChart(QWidget* parent) : QWidget(parent) {
  setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  setAccessibleName("Used space per scan");
  setMouseTracking(true);
}

QSize HistoryChart::sizeHint() const { return {600, 240}; }

QSize HistoryChart::minimumSizeHint() const { return {240, 160}; }

void HistoryChart::setHistory(std::vector<HistoryEntry> history) {
  history_ = std::move(history);
  if (history_.empty()) {
    setAccessibleDescription("No scans yet.");
  } else {
    const HistoryEntry& first = history_.front();
    const HistoryEntry& last = history_.back();
    setAccessibleDescription(countOf(static_cast<int64_t>(history_.size()), "scan", "scans") + ". First " +
                             describe(first) + ". Latest " + describe(last) + ".");
  }
  relayout();
  update();
}

void HistoryChart::resizeEvent(QResizeEvent*) { relayout(); }

void HistoryChart::relayout() {
  layout_ = Layout{};
  layout_.plot = QRectF(kLeftMargin, kTopMargin, std::max(10.0, width() - kLeftMargin - kRightMargin),
                        std::max(10.0, height() - kTopMargin - kBottomMargin));
  if (history_.empty()) return;
  int64_t top = 1, lowest = INT64_MAX;
  for (const auto& entry : history_) {
    top = std::max({top, entry.used, entry.used + entry.free});
    lowest = std::min(lowest, entry.used);
  }
  // From a little below the least used space up to the disk's size: a change of a
  // few gigabytes stays visible, and so does how much room is left.
  layout_.top = static_cast<double>(top);
  layout_.bottom = std::max(0.0, static_cast<double>(lowest) - (layout_.top - static_cast<double>(lowest)) * 0.25);
  const double range = std::max(layout_.top - layout_.bottom, 1.0);
  const double first = history_.front().date;
  const double span = std::max(history_.back().date - first, 1.0);
  const QRectF& plot = layout_.plot;
  for (const auto& entry : history_) {
    const double x = history_.size() == 1 ? plot.center().x() : plot.left() + plot.width() * (entry.date - first) / span;
    const double y = plot.bottom() - plot.height() * (static_cast<double>(entry.used) - layout_.bottom) / range;
    layout_.points.emplace_back(x, y);
  }
  const HistoryEntry& last = history_.back();
  layout_.capacityY = plot.bottom() - plot.height() * (static_cast<double>(last.used + last.free) - layout_.bottom) / range;
}

const HistoryEntry* HistoryChart::entryNear(double x) const {
  if (layout_.points.empty()) return nullptr;
  size_t best = 0;
  for (size_t i = 1; i < layout_.points.size(); ++i) {
    if (std::abs(layout_.points[i].x() - x) < std::abs(layout_.points[best].x() - x)) best = i;
  }
  return &history_[best];
}

bool HistoryChart::event(QEvent* event) {
  if (event->type() == QEvent::ToolTip) {
    const auto* help = static_cast<QHelpEvent*>(event);
    if (const HistoryEntry* entry = entryNear(help->pos().x())) {
      QToolTip::showText(help->globalPos(), describe(*entry), this);
    } else {
      QToolTip::hideText();
    }
    return true;
  }
  return QWidget::event(event);
}

void HistoryChart::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  const QPalette& colors = palette();
  const QRectF& plot = layout_.plot;
  painter.fillRect(plot, colors.color(QPalette::Base));

  // Three grid lines with their sizes: nothing, half, the top.
  painter.setFont(font());
  for (const double share : {0.0, 0.5, 1.0}) {
    const double y = plot.bottom() - plot.height() * share;
    painter.setPen(QPen(colors.color(QPalette::Midlight), 1));
    painter.drawLine(QPointF(plot.left(), y), QPointF(plot.right(), y));
    painter.setPen(colors.color(QPalette::WindowText));
    const QString label = bytesText(static_cast<int64_t>(layout_.bottom + (layout_.top - layout_.bottom) * share));
    painter.drawText(QRectF(0, y - 10, kLeftMargin - 8, 20), Qt::AlignRight | Qt::AlignVCenter, label);
  }
  if (layout_.points.empty()) {
    painter.drawText(plot, Qt::AlignCenter, "No scans yet.");
    return;
  }

  const QColor used = colors.color(QPalette::Highlight);
  if (layout_.points.size() > 1) {
    QPainterPath area;
    area.moveTo(layout_.points.front().x(), plot.bottom());
    for (const auto& point : layout_.points) area.lineTo(point);
    area.lineTo(layout_.points.back().x(), plot.bottom());
    QColor fill = used;
    fill.setAlpha(70);
    painter.fillPath(area, fill);
    painter.setPen(QPen(used, 2));
    painter.drawPolyline(layout_.points.data(), static_cast<int>(layout_.points.size()));
  }
  painter.setPen(Qt::NoPen);
  painter.setBrush(used);
  for (const auto& point : layout_.points) painter.drawEllipse(point, 3, 3);

  painter.setPen(QPen(warningColor(colors), 1, Qt::DashLine));
  painter.drawLine(QPointF(plot.left(), layout_.capacityY), QPointF(plot.right(), layout_.capacityY));
  painter.setPen(colors.color(QPalette::WindowText));
  painter.drawText(QRectF(plot.left() + 6, layout_.capacityY + 2, plot.width() - 12, 18), Qt::AlignRight | Qt::AlignTop,
                   "Disk size " + bytesText(history_.back().used + history_.back().free));

  const QRectF dates(plot.left(), plot.bottom() + 4, plot.width(), kBottomMargin - 4);
  painter.drawText(dates, Qt::AlignLeft | Qt::AlignTop, dayText(history_.front().date));
  if (history_.size() > 1) painter.drawText(dates, Qt::AlignRight | Qt::AlignTop, dayText(history_.back().date));
}

}  // namespace tallyfin::app
