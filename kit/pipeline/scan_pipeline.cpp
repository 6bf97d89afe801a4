#include "kit/pipeline/scan_pipeline.h"

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "kit/cleanup/buckets.h"
#include "kit/cleanup/cleanup_rules.h"
#include "kit/cleanup/cleanup_totals.h"
#include "kit/cleanup/hotspots.h"
#include "kit/cleanup/keep_list.h"
#include "kit/history/changes.h"
#include "kit/base/saturating.h"
#include "kit/history/history_files.h"
#include "kit/scan/scan_lock.h"
#include "kit/scan/scanner.h"
#include "kit/store/disk_info.h"

namespace tallyfin {
namespace {

// The probes' answer, shared with their thread so that a probe that never
// returns can be left behind without holding up the scan.
class ProbeRun {
 public:
  static std::shared_ptr<ProbeRun> start(const ToolProbeFunction& probe) {
    auto run = std::make_shared<ProbeRun>();
    std::thread([run, probe] {
      ToolSnapshot snapshot = probe();
      std::lock_guard lock(run->mutex_);
      run->snapshot_ = std::move(snapshot);
      run->finished_.notify_all();
    }).detach();
    return run;
  }

  std::optional<ToolSnapshot> wait(double seconds) {
    std::unique_lock lock(mutex_);
    finished_.wait_for(lock, std::chrono::duration<double>(seconds),
                       [this] { return snapshot_.has_value(); });
    return snapshot_;
  }

 private:
  std::mutex mutex_;
  std::condition_variable finished_;
  std::optional<ToolSnapshot> snapshot_;
};

PipelineError storageError(const Error& error) {
  return {PipelineError::Reason::storage, error.message};
}

}  // namespace

Expected<PipelineResult, PipelineError> ScanPipeline::run(const CancelToken& cancel, double now,
                                                          const ProgressCallback& progress) const {
  auto lock = ScanLock::acquire(store);
  if (!lock) {
    if (lock.error().reason == ScanLockFailure::Reason::busy) {
      return fail(PipelineError{PipelineError::Reason::alreadyScanning,
                                std::string(kAlreadyScanningMessage)});
    }
    return fail(PipelineError{PipelineError::Reason::dataFolder, lock.error().message});
  }

  ScanConfiguration config = configuration;
  if (auto timings = store.load<TimingMap>(Store::File::timings)) {
    config.previousTimings = std::move(*timings);
  }
  const auto probes = probeTools ? ProbeRun::start(probeTools) : nullptr;

  auto scan = Scanner(config).run(cancel, progress);
  if (!scan) {
    const bool cancelled = scan.error().reason == ScanFailure::Reason::cancelled;
    return fail(PipelineError{
        cancelled ? PipelineError::Reason::cancelled : PipelineError::Reason::scanFailed,
        scan.error().message()});
  }

  PipelineResult result;
  ToolSnapshot tools;
  if (probes) {
    if (auto snapshot = probes->wait(probeTimeoutSeconds)) {
      tools = std::move(*snapshot);
      if (tools.problem) result.warnings.push_back(*tools.problem);
    } else {
      result.warnings.emplace_back(kToolsTooSlowMessage);
    }
  }

  const std::string& home = config.home;
  ScanReport& report = result.report;
  report.items = CleanupRules(home).items(scan->tree, scan->projectJunk, tools);
  report.disk = diskInfo(home, config.root);
  if (progress) progress({ScanProgress::Phase::analyzing, 0, 0, {}});

  const Snapshot snapshot =
      Analysis::snapshot(scan->tree, now, report.disk.used(), scan->deniedSample);
  const auto previous = store.load<Snapshot>(Store::File::snapshot);

  report.date = now;
  report.duration = scan->duration;
  report.home = home;
  const DiskNode* scanned = scan->tree.node(config.displayPath(config.root));
  report.scannedBytes = scanned ? scanned->size : scan->tree.size;
  report.fileCount = scanned ? scanned->files : scan->tree.files;
  report.buckets = Analysis::buckets(scan->tree, home);
  report.hotspots = Analysis::hotspots(scan->tree, home);
  if (previous) report.changes = Analysis::changes(*previous, snapshot);
  report.largeFiles = std::move(scan->largeFiles);
  report.types = std::move(scan->types);
  report.deniedCount = scan->deniedCount;
  report.deniedSample = scan->deniedSample;
  report.taskCount = scan->taskCount;
  report.tree = std::move(scan->tree);

  if (auto saved = store.saveText(encodeReport(report), Store::File::report); !saved) {
    return fail(storageError(saved.error()));
  }
  if (auto saved = store.save(snapshot, Store::File::snapshot); !saved) {
    return fail(storageError(saved.error()));
  }

  const CleanupTotals totals = cleanupTotals(report.items, KeepList::paths(store));
  const auto top = report.changes ? Analysis::topGrowth(*report.changes) : std::nullopt;
  HistoryEntry entry{now, report.disk.used(), report.disk.free, totals.safe, totals.review,
                     trigger, std::nullopt, std::nullopt};
  if (top) {
    entry.topChangePath = top->path;
    entry.topChangeDelta = top->delta;
  }
  auto history = HistoryFiles::appendHistory(store, entry);
  if (!history) return fail(storageError(history.error()));
  result.history = std::move(history->list);
  if (history->note) result.warnings.push_back(*history->note);
  auto samples = HistoryFiles::appendFolderSample(store, Analysis::folderSample(now, snapshot));
  if (!samples) return fail(storageError(samples.error()));
  result.folderSamples = std::move(samples->list);
  if (samples->note) result.warnings.push_back(*samples->note);
  if (auto saved = store.save(scan->timings, Store::File::timings); !saved) {
    return fail(storageError(saved.error()));
  }

  ScanFacts facts;
  // The share that is full is of what the user can fill, as df counts it: blocks
  // kept back for root are no room for the user's files.
  facts.total = report.disk.usable();
  facts.free = report.disk.free;
  if (previous) facts.usedDelta = report.changes->usedDelta;
  facts.reclaimableSafe = totals.safe;
  facts.reclaimableTotal = saturatingAdd(totals.safe, totals.review);
  if (top) facts.topGrowth = ScanFacts::Growth{top->path, top->delta};
  if (totals.largestSafeCategory) {
    facts.topCategory = ScanFacts::Category{std::string(label(*totals.largestSafeCategory)),
                                            totals.largestSafeCategorySize};
  }
  const auto state = store.load<NotificationState>(Store::File::notifications);
  auto [notification, newState] =
      NotificationPolicy(notificationSettings).decide(facts, state.value_or(NotificationState{}), now);
  result.notification = std::move(notification);
  result.notificationState = std::move(newState);

  if (progress) progress({ScanProgress::Phase::done, 0, 0, {}});
  return result;
}

}  // namespace tallyfin
