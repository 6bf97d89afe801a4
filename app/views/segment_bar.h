#pragma once

// A horizontal bar split into parts by size: the disk's used and free space, or
// the storage areas of a report. Colours come from the palette when it is drawn,
// and the parts with their sizes are the bar's accessible description.

#include <QWidget>

#include <cstdint>
#include <vector>

namespace tallyfin::app {

class SegmentBar : public QWidget {
  Q_OBJECT

 public:
  struct Segment {
    enum class Tint { used, free, series };
    QString label;
    int64_t size = 0;
    Tint tint = Tint::series;
    int series = 0;  // for Tint::series: which of the chart colours
  };

  explicit SegmentBar(QWidget* parent = nullptr);

  // `total` may exceed the parts' sum; the rest stays empty (space the disk reserves).
  void setSegments(std::vector<Segment> segments, int64_t total);
  QColor colorOf(const Segment& segment) const;

  QSize sizeHint() const override;
  QSize minimumSizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::vector<Segment> segments_;
  int64_t total_ = 0;
};

}  // namespace tallyfin::app
