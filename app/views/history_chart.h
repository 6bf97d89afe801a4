#pragma once

// Used space per scan over time, with the disk's capacity as a dashed line. The
// points are laid out once per size and history; drawing and the hover tooltip
// both use that layout.

#include <QWidget>

#include <vector>

#include "kit/history/history_records.h"

namespace tallyfin::app {

class HistoryChart : public QWidget {
  Q_OBJECT

 public:
  explicit HistoryChart(QWidget* parent = nullptr);

  void setHistory(std::vector<HistoryEntry> history);

  // The entry drawn nearest to `x`, if any: what a tooltip there describes.
  const HistoryEntry* entryNear(double x) const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  bool event(QEvent* event) override;

 private:
  struct Layout {
    QRectF plot;
    std::vector<QPointF> points;  // one per entry, in order
    double capacityY = 0;
    double top = 0;     // bytes at the plot's top edge
    double bottom = 0;  // bytes at its bottom edge
  };
  void relayout();

  std::vector<HistoryEntry> history_;
  Layout layout_;
};

}  // namespace tallyfin::app
