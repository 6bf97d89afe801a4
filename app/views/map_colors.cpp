#include "app/views/map_colors.h"

#include <algorithm>

#include "app/views/colors.h"
#include "app/views/text.h"

namespace tallyfin::app {
namespace {

// A hue per file kind, in FileKind's order, chosen so that neighbours on the map
// (video beside images, models beside caches) stay apart.
constexpr std::array<int, kFileKindCount> kKindHues = {
    210,  // other
    275,  // video
    330,  // images
    28,   // audio
    45,   // archives
    190,  // disk images
    162,  // models
    218,  // documents
    250,  // databases
    110,  // dev
    0,    // apps
    62,   // caches
    300,  // simulators
};
// From just changed (cool) to untouched for years (warm): old and big is where to look.
constexpr std::array<int, MapColorTable::kAgeDays.size() + 1> kAgeHues = {205, 175, 120, 52, 28, 4};
constexpr size_t kFolderShades = 4;
constexpr double kSecondsPerDay = 86'400;

constexpr size_t kAgeBase = kFileKindCount;
constexpr size_t kFolderBase = kAgeBase + kAgeHues.size();
constexpr size_t kAggregate = kFolderBase + kFolderShades;

MapColorTable::Shade shade(const QColor& fill) { return {fill, fill.darker(118), fill.darker(140)}; }

QColor hued(int hue, const QPalette& palette) {
  return isDark(palette) ? QColor::fromHsv(hue, 120, 190) : QColor::fromHsv(hue, 110, 225);
}

// Folders of mixed contents: the window's own tone, a step further from it each level down.
QColor folderTone(size_t level, const QPalette& palette) {
  const QColor window = palette.color(QPalette::Window);
  const int step = static_cast<int>(level) * 9;
  return isDark(palette) ? window.lighter(150 + step) : window.darker(112 + step);
}

QString ageBandLabel(size_t band) {
  static const std::array<QString, kAgeHues.size()> labels = {
      "This week", "This month", "Last 6 months", "Last year", "1\u20132 years", "Over 2 years"};
  return labels[band];
}

}  // namespace

MapColorTable::MapColorTable(MapColors mode, const QPalette& palette, double reportDate)
    : mode_(mode), reportDate_(reportDate) {
  shades_.reserve(kAggregate + 1);
  for (const int hue : kKindHues) shades_.push_back(shade(hued(hue, palette)));
  for (const int hue : kAgeHues) shades_.push_back(shade(hued(hue, palette)));
  for (size_t level = 0; level < kFolderShades; ++level) shades_.push_back(shade(folderTone(level, palette)));
  shades_.push_back(shade(freeColor(palette)));
  // "Other" files are a kind of their own, but quieter than the named kinds.
  QColor other = shades_[static_cast<size_t>(FileKind::other)].fill;
  other.setHsv(other.hsvHue(), 40, other.value());
  shades_[static_cast<size_t>(FileKind::other)] = shade(other);

  edge_ = palette.color(QPalette::Window);
  text_ = isDark(palette) ? QColor(20, 20, 24) : QColor(24, 24, 28);
  cursor_ = palette.color(QPalette::Highlight);
  removed_ = QBrush(isDark(palette) ? QColor(0, 0, 0, 150) : QColor(255, 255, 255, 170), Qt::BDiagPattern);
}

size_t MapColorTable::indexOf(const map::MapEntry& entry) const {
  if (entry.aggregate()) return kAggregate;
  if (mode_ == MapColors::age) {
    if (entry.modified <= 0) return kAggregate;
    const double days = (reportDate_ - static_cast<double>(entry.modified)) / kSecondsPerDay;
    size_t band = 0;
    while (band < kAgeDays.size() && days > kAgeDays[band]) ++band;
    return kAgeBase + band;
  }
  if (entry.fileKind) return static_cast<size_t>(*entry.fileKind);
  if (entry.isFolder()) return kFolderBase + std::min(static_cast<size_t>(entry.depth), kFolderShades - 1);
  return static_cast<size_t>(FileKind::other);
}

std::vector<MapColorTable::LegendEntry> MapColorTable::legend(const ScanReport& report) const {
  std::vector<LegendEntry> entries;
  if (mode_ == MapColors::age) {
    for (size_t band = 0; band < kAgeHues.size(); ++band) {
      entries.push_back({ageBandLabel(band), shades_[kAgeBase + band].fill});
    }
  } else {
    auto types = report.types;
    std::sort(types.begin(), types.end(), [](const TypeTotal& a, const TypeTotal& b) { return a.size > b.size; });
    for (const TypeTotal& type : types) {
      if (type.size <= 0) continue;
      entries.push_back({qstr(file_kind::label(type.kind)) + " " + bytesText(type.size),
                         shades_[static_cast<size_t>(type.kind)].fill});
    }
    entries.push_back({"Folders of mixed contents", shades_[kFolderBase + 1].fill});
  }
  entries.push_back({mode_ == MapColors::age ? "Smaller items, age unknown" : "Smaller items",
                     shades_[kAggregate].fill});
  return entries;
}

}  // namespace tallyfin::app
