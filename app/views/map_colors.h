#pragma once

// The disk map's colours: by the kind of data a shape holds (the report's file
// kinds) or by how long ago it last changed, with the legend that explains them.
// Worked out once per palette and colour mode, so that a paint only looks them up.

#include <QBrush>
#include <QColor>
#include <QPalette>
#include <QString>

#include <array>
#include <cstdint>
#include <vector>

#include "app/model/map_picture.h"
#include "kit/map/map_entry.h"

namespace tallyfin::app {

class MapColorTable {
 public:
  // The age bands, from the newest; the last has no upper end.
  static constexpr std::array<int, 5> kAgeDays = {7, 30, 182, 365, 730};

  MapColorTable(MapColors mode, const QPalette& palette, double reportDate);

  // The colour of a shape, and its two darker sides for the city.
  struct Shade {
    QColor fill;
    QColor right;
    QColor left;
  };
  const Shade& of(const map::MapEntry& entry) const { return shades_[indexOf(entry)]; }

  // Lines between shapes, text on them, the cursor's outline.
  QColor edge() const { return edge_; }
  QColor text() const { return text_; }
  QColor cursor() const { return cursor_; }
  // Drawn over items moved to the Trash since the scan.
  QBrush removed() const { return removed_; }

  struct LegendEntry {
    QString label;
    QColor color;
  };
  // What the colours mean: the report's file kinds, largest first, or the age bands;
  // then folders of mixed contents and the folded small items.
  std::vector<LegendEntry> legend(const ScanReport& report) const;

 private:
  size_t indexOf(const map::MapEntry& entry) const;

  MapColors mode_;
  double reportDate_;
  // File kinds, then age bands, then folders by depth, then aggregates.
  std::vector<Shade> shades_;
  QColor edge_;
  QColor text_;
  QColor cursor_;
  QBrush removed_;
};

}  // namespace tallyfin::app
