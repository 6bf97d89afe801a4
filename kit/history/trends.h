#pragma once

#include <optional>
#include <utility>
#include <vector>

#include "kit/history/history_records.h"

namespace tallyfin::Trends {

inline constexpr double kMinimumSpan = 172'800;  // two days

// The growing folders people are shown: trends need three scans and a megabyte of
// growth to mean anything; ten are plenty.
inline constexpr size_t kShownMinSamples = 3;
inline constexpr int64_t kShownMinDelta = 1'000'000;
inline constexpr size_t kShownLimit = 10;

// Least-squares growth per day of (date in seconds, size) points spanning at
// least `minimumSpan` seconds; none for fewer than two points or a shorter span.
std::optional<double> slopePerDay(const std::vector<std::pair<double, int64_t>>& points,
                                  double minimumSpan = kMinimumSpan);

// How fast used space grows, over the whole history.
std::optional<double> growthPerDay(const std::vector<HistoryEntry>& history);

// When the disk fills at this pace; none when it is not filling within ten years.
std::optional<double> fullDate(double now, const std::vector<HistoryEntry>& history);

// Folders that keep growing, biggest growth first; a folder whose growth is
// mostly (three quarters or more) one sub-folder's is left to that sub-folder.
std::vector<FolderTrend> growingFolders(const std::vector<FolderSample>& samples,
                                        size_t minSamples, int64_t minDelta, size_t limit);

}  // namespace tallyfin::Trends
