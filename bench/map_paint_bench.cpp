// Google Benchmark of painting the disk map: each layout of a whole report's pruned
// tree drawn into a 1920x1080 image offscreen, as the map screen paints a frame
// (budget 16 ms), and one frame of the zoom animation.
//
// TALLYFIN_MAP_REPORT names the report.json to draw (see map_bench.cpp); without
// it every run is skipped.

#include <benchmark/benchmark.h>

#include <QApplication>
#include <QImage>
#include <QPainter>

#include <cstdlib>

#include "app/views/map_painter.h"
#include "bench/saved_report.h"

namespace {

using namespace tallyfin;
using namespace tallyfin::app;

constexpr int kWidth = 1920;
constexpr int kHeight = 1080;

std::shared_ptr<const MapPicture> pictureOf(MapKind kind, const std::string& folder = {}) {
  const auto& report = bench::savedReport();
  const map::MapFocus opening = map::openingFolder(report->tree);
  const DiskNode& node = folder.empty() ? *opening.node : *report->tree.node(folder);
  return layOut(kind, report, nullptr, node, folder.empty() ? opening.path : folder, {0, 0, kWidth, kHeight});
}

void BM_Paint(benchmark::State& state, MapKind kind) {
  if (!bench::savedReport()) {
    state.SkipWithError("set TALLYFIN_MAP_REPORT to a report.json to paint");
    return;
  }
  const auto picture = pictureOf(kind);
  QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
  const QPalette palette = QApplication::palette();
  for (auto _ : state) {
    QPainter painter(&image);
    painter.fillRect(image.rect(), palette.color(QPalette::Window));
    const MapColorTable colors(MapColors::fileKind, palette, picture->reportDate());
    paintMap(painter, *picture, MapFrame(*picture, QRectF(image.rect())), colors, {1, std::nullopt, nullptr});
  }
  state.counters["shapes"] = static_cast<double>(picture->size());
}

// Halfway through zooming into the biggest folder of the opening one.
void BM_PaintZoom(benchmark::State& state, MapKind kind) {
  if (!bench::savedReport()) {
    state.SkipWithError("set TALLYFIN_MAP_REPORT to a report.json to paint");
    return;
  }
  const auto from = pictureOf(kind);
  std::string biggest;
  for (size_t i = 1; i < from->size() && biggest.empty(); ++i) {
    if (from->entry(i).parent == 0 && from->entry(i).isFolder()) biggest = from->path(i);
  }
  const auto transition = MapTransition::between(from, pictureOf(kind, biggest));
  QImage image(kWidth, kHeight, QImage::Format_ARGB32_Premultiplied);
  const QPalette palette = QApplication::palette();
  for (auto _ : state) {
    QPainter painter(&image);
    painter.fillRect(image.rect(), palette.color(QPalette::Window));
    const MapColorTable colors(MapColors::fileKind, palette, from->reportDate());
    transition->paint(painter, QRectF(image.rect()), colors, 0.5);
  }
}

BENCHMARK_CAPTURE(BM_Paint, sunburst, MapKind::sunburst)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Paint, treemap, MapKind::treemap)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Paint, city, MapKind::city)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PaintZoom, sunburst, MapKind::sunburst)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PaintZoom, treemap, MapKind::treemap)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_PaintZoom, city, MapKind::city)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  // Drawn into an image: no display is needed.
  setenv("QT_QPA_PLATFORM", "offscreen", 0);
  QApplication app(argc, argv);
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
