#include "cli/history_command.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <ctime>

#include "cli/command_support.h"
#include "cli/text_layout.h"
#include "kit/agents/history_json.h"
#include "kit/base/clock.h"
#include "kit/base/saturating.h"
#include "kit/history/history_files.h"
#include "kit/history/trends.h"
#include "kit/store/format.h"
#include "kit/report/scan_report.h"

namespace tallyfin::cli {
namespace {

using nlohmann::json;
using namespace exit_code;

constexpr size_t kSparklineWidth = 60;

std::string localTime(double date, const char* format) {
  const auto seconds = static_cast<std::time_t>(std::floor(date));
  std::tm local{};
  ::localtime_r(&seconds, &local);
  char text[40];
  std::strftime(text, sizeof text, format, &local);
  return text;
}

// "+600 MB", "−1.20 GB", "0 B".
std::string signedBytes(int64_t delta) {
  if (delta == 0) return "0 B";
  return (delta > 0 ? "+" : "\u2212") + Format::bytes(delta > 0 ? delta : saturatingSub(0, delta));
}

std::string rightAligned(const std::string& text, size_t width) {
  return std::string(width > text.size() ? width - text.size() : 0, ' ') + text;
}

// Used space of the last scans as bars from ▁ to █, lowest to highest.
std::string sparkline(const std::vector<HistoryEntry>& history) {
  static constexpr std::string_view kBars[] = {"\u2581", "\u2582", "\u2583", "\u2584",
                                               "\u2585", "\u2586", "\u2587", "\u2588"};
  const size_t first = history.size() > kSparklineWidth ? history.size() - kSparklineWidth : 0;
  int64_t low = history[first].used, high = low;
  for (size_t i = first; i < history.size(); ++i) {
    low = std::min(low, history[i].used);
    high = std::max(high, history[i].used);
  }
  std::string line;
  for (size_t i = first; i < history.size(); ++i) {
    const double share = high > low ? static_cast<double>(history[i].used - low) / static_cast<double>(high - low) : 0.5;
    line += kBars[static_cast<size_t>(std::lround(share * 7))];
  }
  return line;
}

std::string forecast(const std::vector<HistoryEntry>& history, double now) {
  const auto perDay = Trends::growthPerDay(history);
  if (!perDay) return "Growth and forecast need scans spanning two days or more.";
  const std::string pace = *perDay >= 0 ? "Growing by " + Format::bytes(std::llround(*perDay * 7)) + " per week"
                                        : "Shrinking by " + Format::bytes(std::llround(-*perDay * 7)) + " per week";
  const auto full = Trends::fullDate(now, history);
  if (!full) return pace + ", on average; not filling up at this pace.";
  return pace + ", on average; at this pace the disk is full around " + localTime(*full, "%Y-%m-%d") + ".";
}

std::string_view statusWord(Change::Status status) {
  switch (status) {
    case Change::Status::isNew: return "new";
    case Change::Status::gone: return "gone";
    case Change::Status::grew: return "grew";
    case Change::Status::shrank: return "shrank";
  }
  return "";
}

json changesJson(const ChangeSummary& changes, size_t top) {
  json items = json::array();
  for (const auto& change : changes.items) {
    if (items.size() >= top) break;
    items.push_back({{"path", change.path},
                     {"delta", change.delta},
                     {"before", change.before},
                     {"after", change.after},
                     {"status", statusWord(change.status)}});
  }
  return {{"since", Format::isoDate(static_cast<int64_t>(std::floor(changes.since)))},
          {"used_delta", changes.usedDelta},
          {"items", std::move(items)}};
}

std::string text(const std::vector<HistoryEntry>& history, const std::vector<FolderSample>& samples,
                 const std::optional<ScanReport>& report, const Options& options, const std::string& home,
                 double now) {
  std::string out;
  const auto line = [&out](std::string_view text) { out += fitWidth(terminalSafe(text), 80) + "\n"; };
  const size_t top = static_cast<size_t>(options.top);
  const size_t first = history.size() > top ? history.size() - top : 0;
  line(std::to_string(history.size()) + (history.size() == 1 ? " scan" : " scans") +
       (first > 0 ? ", the last " + std::to_string(history.size() - first) + " shown" : ""));
  line("  " + column("Date", 18) + rightAligned("Used", 10) + rightAligned("Free", 10) + rightAligned("Change", 11));
  for (size_t i = first; i < history.size(); ++i) {
    const HistoryEntry& entry = history[i];
    // The first scan has nothing to change from.
    const std::string change =
        i == 0 ? "" : rightAligned(signedBytes(saturatingSub(entry.used, history[i - 1].used)), 11);
    line("  " + column(localTime(entry.date, "%Y-%m-%d %H:%M"), 18) + rightAligned(Format::bytes(entry.used), 10) +
         rightAligned(Format::bytes(entry.free), 10) + change);
  }
  if (::isatty(STDOUT_FILENO) && history.size() > 1) line("  Used space: " + sparkline(history));
  out += "\n" + wrapped(forecast(history, now), 80, 0) + "\n";

  if (report && report->changes) {
    const ChangeSummary& changes = *report->changes;
    out += "\n";
    line("Since the scan of " + localTime(changes.since, "%Y-%m-%d %H:%M") + ": used space " +
         signedBytes(changes.usedDelta));
    size_t shown = 0;
    for (const auto& change : changes.items) {
      if (shown++ >= top) break;
      line("  " + rightAligned(signedBytes(change.delta), 10) + "  " + Format::shortPath(change.path, home) + " (" +
           std::string(statusWord(change.status)) + ")");
    }
  }
  const auto growing =
      Trends::growingFolders(samples, Trends::kShownMinSamples, Trends::kShownMinDelta, Trends::kShownLimit);
  if (!growing.empty()) {
    out += "\nFolders that keep growing\n";
    for (const auto& trend : growing) {
      line("  " + rightAligned(signedBytes(trend.delta), 10) + "  " + Format::shortPath(trend.path, home) + " (" +
           Format::bytes(std::llround(trend.perWeek)) + " per week)");
    }
  }
  return out;
}

}  // namespace

int showHistory(const Options& options, const Store& store, const std::string& home) {
  const auto history = HistoryFiles::history(store);
  if (history.empty()) {
    diagnose("no scans recorded in " + store.url(Store::File::history) + " yet \u2014 run tallyfin to scan.");
    return kNoReport;
  }
  const auto samples = HistoryFiles::folderHistory(store);
  const double now = secondsSinceEpoch();
  auto report = readReport(store);
  const std::optional<ScanReport> saved = report ? std::optional(std::move(*report)) : std::nullopt;
  std::string output;
  if (options.json) {
    json result = AgentJson::diskHistory(history, samples, now);
    result["changes_since_previous"] =
        saved && saved->changes ? changesJson(*saved->changes, static_cast<size_t>(options.top)) : json(nullptr);
    output = result.dump(2) + "\n";
  } else {
    output = text(history, samples, saved, options, home, now);
  }
  std::fwrite(output.data(), 1, output.size(), stdout);
  return kOk;
}

}  // namespace tallyfin::cli
