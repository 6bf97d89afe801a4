#include "kit/scan/scanner.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

#include "kit/platform/bulk_directory.h"
#include "kit/platform/memory_arenas.h"
#include "kit/scan/hard_links.h"
#include "kit/scan/parallel_walk.h"
#include "kit/scan/scan_planner.h"

namespace tallyfin {
namespace {

constexpr double kRecordedTaskSeconds = 0.2;

void report(const ProgressCallback& progress, ScanProgress value) {
  if (progress) progress(value);
}

}  // namespace

std::string ScanFailure::message() const {
  if (reason == Reason::cancelled) return "The scan was cancelled.";
  return readError.message();
}

Scanner::Scanner(ScanConfiguration configuration) : configuration_(std::move(configuration)) {}

int Scanner::defaultWorkerCount() {
  const int cores = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
  return std::clamp(8 * cores, 4, 32);
}

Expected<RawScan, ScanFailure> Scanner::run(const CancelToken& cancel,
                                            const ProgressCallback& progress) const {
  const auto started = std::chrono::steady_clock::now();
  const ScanConfiguration& config = configuration_;

  struct stat rootInfo;
  if (::lstat(config.root.c_str(), &rootInfo) != 0) {
    return fail(ScanFailure{ScanFailure::Reason::rootUnreadable, {config.root, errno}});
  }
  const int32_t rootDevice = platform::deviceId(rootInfo.st_dev);

  report(progress, {ScanProgress::Phase::planning, 0, 0, config.displayPath(config.root)});
  Accumulator merged;
  DirectoryReader plannerReader(config.mounts);
  Plan plan = planScan(config, rootDevice, rootInfo.st_mtim.tv_sec, plannerReader, merged);
  // A root that exists but can't be listed is no scan at all: 0 bytes would read as empty.
  if (plan.root->unreadable) {
    return fail(ScanFailure{ScanFailure::Reason::rootUnreadable, {config.root, plan.root->readError}});
  }

  const auto order = slowestFirst(plan.tasks, config.previousTimings);
  const int workers = config.workerCount > 0 ? config.workerCount : defaultWorkerCount();
  // Every front end's walkers start here, and two arenas serve them as fast as one each.
  platform::limitMemoryArenas(2);
  WalkOutcome outcome =
      walkInParallel(plan.tasks, order, config, rootDevice, cancel, progress, workers);
  if (cancel.isCancelled()) return fail(ScanFailure{ScanFailure::Reason::cancelled, {}});

  RawScan scan;
  merged.absorb(outcome.accumulators);
  for (size_t i = 0; i < plan.tasks.size(); ++i) {
    const auto& result = outcome.results[i];
    if (result && result->seconds >= kRecordedTaskSeconds) {
      scan.timings[plan.tasks[i].display] = result->seconds;
    }
  }
  for (const auto& split : plan.splits) {
    if (scan.timings.contains(split)) continue;
    const auto previous = config.previousTimings.find(split);
    if (previous != config.previousTimings.end() && previous->second >= config.splitSeconds) {
      scan.timings[split] = previous->second;
    }
  }

  scan.tree = anchor(finalizePlan(*plan.root, outcome.results, config, merged), config.displayRoot);
  scan.hardlinkBytesDeduped = deduplicateHardLinks(scan.tree, std::move(merged.links));

  // Workers finish in any order; sorting makes the lists the same from scan to scan.
  std::sort(merged.largeFiles.begin(), merged.largeFiles.end(),
            [](const LargeFile& a, const LargeFile& b) {
              return a.size != b.size ? a.size > b.size : a.path < b.path;
            });
  std::sort(merged.projectJunk.begin(), merged.projectJunk.end(),
            [](const ProjectJunk& a, const ProjectJunk& b) { return a.path < b.path; });
  std::sort(merged.deniedSample.begin(), merged.deniedSample.end());

  scan.largeFiles = std::move(merged.largeFiles);
  scan.projectJunk = std::move(merged.projectJunk);
  scan.types = merged.typeTotals();
  scan.deniedCount = merged.denied;
  scan.deniedSample = std::move(merged.deniedSample);
  scan.taskCount = static_cast<int>(plan.tasks.size());
  scan.duration =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
  return scan;
}

}  // namespace tallyfin
