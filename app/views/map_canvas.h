#pragma once

// The picture of the disk map: draws the map model's layout, animates zooms,
// tells what is under the mouse, and takes the keys: the arrows move the cursor
// between siblings, Enter zooms into the folder under it, Backspace zooms out.
// A click zooms into a folder; a right click (or the menu key) asks for the
// item's actions.

#include <QVariantAnimation>
#include <QWidget>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "app/model/map_model.h"
#include "app/views/map_colors.h"
#include "app/views/map_painter.h"

namespace tallyfin::app {

class MapCanvas : public QWidget {
  Q_OBJECT

 public:
  MapCanvas(MapModel& map, QWidget* parent = nullptr);

  const std::shared_ptr<const MapPicture>& picture() const { return picture_; }
  std::optional<size_t> cursor() const { return cursor_; }
  std::optional<size_t> hovered() const { return hover_; }
  // Puts the cursor on a shape of the picture.
  void setCursorAt(size_t index);
  // Items moved to the Trash since the scan, drawn struck through.
  void setRemoved(std::set<std::string> removed);
  // Said in the middle while there is no picture.
  void setEmptyText(const QString& text);
  // A point of the widget inside a shape, where it shows: what a click on it hits.
  QPointF pointOf(size_t index) const;
  bool isAnimating() const { return transition_.has_value(); }

 signals:
  void hoverChanged();
  void cursorChanged();
  void menuRequested(size_t index, QPoint globalPosition);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void contextMenuEvent(QContextMenuEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  void showPicture(bool zoomed);
  std::optional<size_t> hitAt(QPointF point) const;
  void setHover(std::optional<size_t> index);
  // Zooms into the folder a shape is, if it is one.
  void activate(size_t index);
  void markRemoved();
  MapFrame frame() const;
  const MapColorTable& colors();

  MapModel& map_;
  std::shared_ptr<const MapPicture> picture_;
  std::optional<MapTransition> transition_;
  QVariantAnimation animation_;
  std::optional<size_t> cursor_;
  std::string cursorPath_;
  std::optional<size_t> hover_;
  std::set<std::string> removedPaths_;
  std::vector<bool> removed_;
  QString emptyText_;
  std::optional<MapColorTable> colors_;
  bool colorsStale_ = true;
};

}  // namespace tallyfin::app
