#include "kit/history/trends.h"

#include <algorithm>
#include <map>

#include "kit/base/saturating.h"
#include "kit/history/explained.h"

namespace tallyfin::Trends {
namespace {

constexpr double kDay = 86'400;
constexpr double kTenYearsInDays = 3'650;

}  // namespace

std::optional<double> slopePerDay(const std::vector<std::pair<double, int64_t>>& points,
                                  double minimumSpan) {
  if (points.size() < 2 || points.back().first - points.front().first < minimumSpan) {
    return std::nullopt;
  }
  double meanX = 0, meanY = 0;
  for (const auto& [date, size] : points) {
    meanX += date / kDay;
    meanY += static_cast<double>(size);
  }
  meanX /= static_cast<double>(points.size());
  meanY /= static_cast<double>(points.size());
  double numerator = 0, denominator = 0;
  for (const auto& [date, size] : points) {
    const double dx = date / kDay - meanX;
    numerator += dx * (static_cast<double>(size) - meanY);
    denominator += dx * dx;
  }
  if (denominator == 0) return std::nullopt;
  return numerator / denominator;
}

std::optional<double> growthPerDay(const std::vector<HistoryEntry>& history) {
  std::vector<std::pair<double, int64_t>> points;
  points.reserve(history.size());
  for (const auto& entry : history) points.emplace_back(entry.date, entry.used);
  return slopePerDay(points);
}

std::optional<double> fullDate(double now, const std::vector<HistoryEntry>& history) {
  const auto growth = growthPerDay(history);
  if (!growth || *growth <= 0) return std::nullopt;
  const double days = static_cast<double>(history.back().free) / *growth;
  if (days >= kTenYearsInDays) return std::nullopt;
  return now + days * kDay;
}

std::vector<FolderTrend> growingFolders(const std::vector<FolderSample>& samples,
                                        size_t minSamples, int64_t minDelta, size_t limit) {
  std::map<std::string, FolderTrend> series;
  for (const auto& sample : samples) {
    for (const auto& [path, size] : sample.sizes) {
      auto& trend = series[path];
      trend.path = path;
      trend.series.push_back({sample.date, size});
    }
  }
  std::vector<FolderTrend> candidates;
  for (auto& [path, trend] : series) {
    if (trend.series.size() < minSamples || trend.series.empty()) continue;
    trend.delta = saturatingSub(trend.series.back().size, trend.series.front().size);
    if (trend.delta < minDelta) continue;
    std::vector<std::pair<double, int64_t>> points;
    for (const auto& point : trend.series) points.emplace_back(point.date, point.size);
    trend.perWeek = slopePerDay(points, 0).value_or(0) * 7.0;
    candidates.push_back(std::move(trend));
  }
  std::vector<FolderTrend> kept = withoutExplainedFolders(candidates);
  std::stable_sort(kept.begin(), kept.end(),
                   [](const FolderTrend& a, const FolderTrend& b) { return a.delta > b.delta; });
  if (kept.size() > limit) kept.resize(limit);
  return kept;
}

}  // namespace tallyfin::Trends
