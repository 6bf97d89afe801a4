#include "cli/summary.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "cli/text_layout.h"
#include "kit/agents/disk_status.h"
#include "kit/base/saturating.h"
#include "kit/cleanup/cleanup_totals.h"
#include "kit/cleanup/hotspots.h"
#include "kit/store/disk_info.h"
#include "kit/store/format.h"

namespace tallyfin::cli {
namespace {

constexpr size_t kWidth = 80;
constexpr int64_t kSmallestFolderListed = 1'048'576;
constexpr size_t kUnreadableNamed = 3;

std::vector<const CleanupItem*> visibleItems(const SummaryInput& input) {
  std::vector<const CleanupItem*> items;
  for (const auto& item : input.report.items) {
    if (items.size() >= input.top) break;
    if (!input.kept.contains(item.path)) items.push_back(&item);
  }
  return items;
}

// The biggest concrete folders, found the way hotspots are but down to 1 MiB.
std::vector<Hotspot> biggestFolders(const SummaryInput& input) {
  std::vector<Hotspot> folders;
  for (auto& spot : Analysis::hotspots(input.report.tree, input.report.home, kSmallestFolderListed,
                                       std::numeric_limits<size_t>::max())) {
    if (folders.size() >= input.top) break;
    if (!spot.isFile) folders.push_back(std::move(spot));
  }
  return folders;
}

std::string sizeColumn(int64_t bytes) {
  const std::string text = Format::bytes(bytes);
  return std::string(text.size() < 8 ? 8 - text.size() : 0, ' ') + text;
}

std::string seconds(double value) {
  char text[32];
  std::snprintf(text, sizeof text, value < 10 ? "%.1f s" : "%.0f s", value);
  return text;
}

// Where to go from here: every suggestion, the app that moves them, and the undo
// of what moved since the last scan.
std::string nextSteps(const SummaryInput& input) {
  const size_t count = input.report.items.size();
  std::string out = "\nNext: tallyfin --no-scan --top " + std::to_string(std::max<size_t>(count, 1)) +
                    input.storeArgument +
                    "\n      lists every suggestion (--json for scripts); tallyfin-app moves the ones\n"
                    "      you choose to the Trash, undoably.\n";
  if (input.movedSinceLastScan.empty()) return out;
  size_t items = 0;
  int64_t bytes = 0;
  for (const auto& batch : input.movedSinceLastScan) {
    items += batch.entries.size();
    bytes = saturatingAdd(bytes, batch.size);
  }
  const size_t batches = input.movedSinceLastScan.size();
  out += "Moved to the Trash since the last scan: " + std::to_string(items) + (items == 1 ? " item (" : " items (") +
         Format::bytes(bytes) + ") in " + std::to_string(batches) + (batches == 1 ? " batch" : " batches") +
         ".\n      Put the newest back with: tallyfin undo" + input.storeArgument +
         "\n      (tallyfin trash lists every batch)\n";
  return out;
}

}  // namespace

nlohmann::json jsonSummary(const SummaryInput& input) {
  nlohmann::json summary = AgentJson::diskStatus(input.report, input.kept, input.now);
  nlohmann::json suggestions = nlohmann::json::array();
  for (const CleanupItem* item : visibleItems(input)) {
    suggestions.push_back(AgentJson::suggestionItem(*item));
  }
  nlohmann::json folders = nlohmann::json::array();
  for (const auto& folder : biggestFolders(input)) {
    folders.push_back({{"path", folder.path}, {"size", folder.size}});
  }
  summary["unreadable"] = {{"count", input.report.deniedCount}, {"paths", input.report.deniedSample}};
  summary["suggestions"] = std::move(suggestions);
  summary["biggest_folders"] = std::move(folders);
  return summary;
}

std::string textSummary(const SummaryInput& input) {
  const ScanReport& report = input.report;
  const std::string& home = report.home;
  std::string out;
  const auto line = [&out](std::string_view text) {
    out += fitWidth(terminalSafe(text), kWidth);
    out += '\n';
  };

  const DiskInfo& disk = report.disk;
  std::string diskLine = "Disk " + disk.volumeName + ": " + Format::bytes(disk.used()) +
                         " used of " + Format::bytes(disk.total) + " (" +
                         std::to_string(percentUsed(disk)) + "%), " + Format::bytes(disk.free) +
                         " free";
  if (const auto health = diskHealth(disk)) diskLine += " \u00B7 " + std::string(healthLabel(*health));
  line(diskLine);
  if (const auto health = diskHealth(disk); health && *health != DiskHealth::healthy) {
    line("  " + std::string(healthExplanation(*health)));
  }
  line("Scanned " + Format::bytes(report.scannedBytes) + " in " + groupedNumber(report.fileCount) +
       " files in " + seconds(report.duration));
  if (report.deniedCount > 0) {
    // The first few by name, one a line, so a long path is never lost among others.
    const int64_t count = report.deniedCount;
    const size_t named = std::min(report.deniedSample.size(), kUnreadableNamed);
    line(groupedNumber(count) + (count == 1 ? " folder" : " folders") + " could not be read" +
         (named > 0 ? ":" : "."));
    for (size_t i = 0; i < named; ++i) line("  " + Format::shortPath(report.deniedSample[i], home));
    if (named > 0 && count > static_cast<int64_t>(named)) {
      line("  and " + groupedNumber(count - static_cast<int64_t>(named)) + " more");
    }
  }

  if (!report.buckets.empty()) {
    out += "\nBiggest areas\n";
    std::vector<Bucket> areas = report.buckets;
    std::stable_sort(areas.begin(), areas.end(),
                     [](const Bucket& a, const Bucket& b) { return a.size > b.size; });
    for (size_t i = 0; i < areas.size() && i < input.top; ++i) {
      line("  " + column(areas[i].label, 30) + sizeColumn(areas[i].size));
    }
  }

  const CleanupTotals totals = cleanupTotals(report.items, input.kept);
  out += "\nCleanup: " + Format::bytes(totals.safe) + " safe to clean, " +
         Format::bytes(totals.review) + " worth reviewing\n";
  const auto items = visibleItems(input);
  if (items.empty()) out += "  Nothing to suggest.\n";
  for (const CleanupItem* item : items) {
    const std::string safety = item->safety == Safety::safe ? "Safe  " : "Review";
    line("  " + safety + " " + sizeColumn(item->size) + "  " + item->title);
    line("                   " + Format::shortPath(item->path, home));
    if (item->command) line("                   $ " + *item->command);
  }

  const auto folders = biggestFolders(input);
  if (!folders.empty()) {
    out += "\nBiggest folders\n";
    for (const auto& folder : folders) {
      line("  " + sizeColumn(folder.size) + "  " + Format::shortPath(folder.path, home));
    }
  }
  out += nextSteps(input);
  return out;
}

}  // namespace tallyfin::cli
