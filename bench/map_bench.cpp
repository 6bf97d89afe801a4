// Google Benchmark of the disk map: each layout of a whole report's pruned tree
// (what the map screen does on every zoom, budget 5 ms), hit testing, and the
// recommendations.
//
// TALLYFIN_MAP_REPORT names a report.json to lay out, for example the report of a
// scan of the 1,000,000-file fixture (see the README); without it those runs are
// skipped and only the generated tree is laid out.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>

#include "bench/saved_report.h"
#include "kit/map/city.h"
#include "kit/map/recommendations.h"
#include "kit/map/sunburst.h"
#include "kit/map/treemap.h"
#include "kit/report/scan_report.h"

namespace {

using namespace tallyfin;

constexpr map::Rect kScreen{0, 0, 1920, 1080};
constexpr int64_t kMiB = 1'048'576;

using Focus = map::MapFocus;
using bench::savedReport;

// A pruned tree shaped like a big home folder's, with no fixture needed: sizes
// fall off like a power law among up to 80 would-be children, those of 10 MiB or
// more are kept (60 at most, as the scanner keeps them) and the rest is folded.
class SyntheticTree {
 public:
  DiskNode build() { return folder("/", 2'000'000'000'000, 0); }

 private:
  DiskNode folder(std::string name, int64_t size, int depth) {
    DiskNode node;
    node.name = std::move(name);
    node.size = size;
    node.files = std::max<int64_t>(1, size / 400'000);
    node.modified = 1'800'000'000 - static_cast<int64_t>(next() % (730 * 86'400));
    double total = 0;
    for (int i = 0; i < 80; ++i) total += 1 / std::pow(i + 1.0, 1.3);
    int64_t kept = 0;
    for (int i = 0; i < 80 && node.children.size() < 60; ++i) {
      const auto share =
          static_cast<int64_t>(static_cast<double>(size) / std::pow(i + 1.0, 1.3) / total);
      if (share < 10 * kMiB) break;
      const std::string childName = "entry-" + std::to_string(depth) + "-" + std::to_string(i);
      if (depth >= 9 || share < 200 * kMiB || next() % 4 == 0) {
        DiskNode leaf;
        leaf.name = childName + (next() % 2 ? ".bin" : "");
        leaf.size = share;
        leaf.files = 1;
        leaf.modified = node.modified - static_cast<int64_t>(next() % 86'400);
        leaf.kind = next() % 3 ? DiskNode::Kind::file : DiskNode::Kind::folder;
        node.children.push_back(std::move(leaf));
      } else {
        node.children.push_back(folder(childName, share, depth + 1));
      }
      kept += share;
    }
    if (size > kept) {
      DiskNode rest;
      rest.kind = DiskNode::Kind::smaller;
      rest.size = size - kept;
      node.children.push_back(rest);
    }
    return node;
  }

  uint64_t next() { return random_(); }

  std::mt19937_64 random_{42};
};

const DiskNode& syntheticTree() {
  static const DiskNode tree = SyntheticTree().build();
  return tree;
}

std::optional<Focus> focusOf(bool report) {
  if (!report) return Focus{&syntheticTree(), "/"};
  if (!savedReport()) return std::nullopt;
  return map::openingFolder(savedReport()->tree);
}

size_t nodeCount(const DiskNode& node) {
  size_t count = 1;
  for (const auto& child : node.children) count += nodeCount(child);
  return count;
}

enum class Layout { sunburst, sunburstEveryNode, treemap, city };

size_t layOut(Layout layout, const Focus& focus) {
  switch (layout) {
    case Layout::sunburst:
      return map::sunburst(*focus.node, focus.path).shapes().size();
    case Layout::sunburstEveryNode:
      return map::sunburst(*focus.node, focus.path, {64, 0}).shapes().size();
    case Layout::treemap:
      return map::treemap(*focus.node, focus.path, kScreen).shapes().size();
    case Layout::city: {
      map::CityOptions options;
      options.now = 1'800'000'000;
      return map::city(*focus.node, focus.path, options).shapes().size();
    }
  }
  return 0;
}

void BM_Layout(benchmark::State& state, Layout layout, bool report) {
  const auto focus = focusOf(report);
  if (!focus) {
    state.SkipWithError("set TALLYFIN_MAP_REPORT to a report.json to lay out a real report");
    return;
  }
  size_t shapes = 0;
  for (auto _ : state) benchmark::DoNotOptimize(shapes = layOut(layout, *focus));
  state.counters["nodes"] = static_cast<double>(nodeCount(*focus->node));
  state.counters["shapes"] = static_cast<double>(shapes);
}

BENCHMARK_CAPTURE(BM_Layout, sunburst_generated, Layout::sunburst, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Layout, sunburst_every_node_generated, Layout::sunburstEveryNode, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Layout, treemap_generated, Layout::treemap, false)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Layout, city_generated, Layout::city, false)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Layout, sunburst_report, Layout::sunburst, true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Layout, sunburst_every_node_report, Layout::sunburstEveryNode, true)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Layout, treemap_report, Layout::treemap, true)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(BM_Layout, city_report, Layout::city, true)->Unit(benchmark::kMillisecond);

// One hit test per mouse move, at random points of the picture.
template <class MakeLayout, class PointAt>
void hitTests(benchmark::State& state, MakeLayout make, PointAt pointAt) {
  const auto focus = focusOf(savedReport() != nullptr);
  const auto layout = make(*focus);
  std::mt19937 random(7);
  std::uniform_real_distribution<double> unit(0, 1);
  size_t found = 0;
  for (auto _ : state) {
    const auto hit = layout.hit(pointAt(layout, unit(random), unit(random)));
    found += hit.has_value();
    benchmark::DoNotOptimize(hit);
  }
  state.counters["found"] = static_cast<double>(found) / static_cast<double>(state.iterations());
}

void BM_HitSunburst(benchmark::State& state) {
  hitTests(
      state, [](const Focus& f) { return map::sunburst(*f.node, f.path); },
      [](const auto&, double u, double v) {
        return map::Point{2 * u - 1, 2 * v - 1};
      });
}
BENCHMARK(BM_HitSunburst);

void BM_HitTreemap(benchmark::State& state) {
  hitTests(
      state, [](const Focus& f) { return map::treemap(*f.node, f.path, kScreen); },
      [](const auto&, double u, double v) {
        return map::Point{u * kScreen.width, v * kScreen.height};
      });
}
BENCHMARK(BM_HitTreemap);

void BM_HitCity(benchmark::State& state) {
  hitTests(
      state, [](const Focus& f) { return map::city(*f.node, f.path); },
      [](const map::CityLayout& city, double u, double v) {
        const map::Rect& b = city.projectedBounds();
        return map::Point{b.x + u * b.width, b.y + v * b.height};
      });
}
BENCHMARK(BM_HitCity);

void BM_Recommendations(benchmark::State& state) {
  if (!savedReport()) {
    state.SkipWithError("set TALLYFIN_MAP_REPORT to a report.json to sum one up");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(Analysis::recommendations(*savedReport(), {}, {}));
  }
}
BENCHMARK(BM_Recommendations)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
