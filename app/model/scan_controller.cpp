#include "app/model/scan_controller.h"

#include "app/model/off_main_thread.h"
#include "app/model/progress_throttle.h"
#include "kit/base/clock.h"
#include "kit/cleanup/keep_list.h"
#include "kit/history/history_files.h"
#include "kit/history/trends.h"
#include "kit/platform/io_priority.h"
#include "kit/pipeline/scan_pipeline.h"
#include "kit/trash/trash_service.h"

namespace tallyfin::app {
namespace {

// The app lists every batch the journal still holds.
constexpr double kBatchDays = 3'650;

// What "Forget all scans" removes: everything a scan writes about the disk.
constexpr Store::File kScanFiles[] = {Store::File::report, Store::File::history, Store::File::snapshot,
                                      Store::File::folderHistory};

}  // namespace

ScanController::ScanController(AppEnvironment environment, QObject* parent)
    : QObject(parent), environment_(std::move(environment)) {
  // The watcher calls from its own thread; the reload happens here, on ours.
  watcher_ = std::make_unique<platform::FolderWatcher>(environment_.store.directory(), [this] {
    QMetaObject::invokeMethod(
        this,
        [this] {
          reloadIfChanged();
          emit eventSent(Event{EventKind::folderChanged, {}, {}, false});
        },
        Qt::QueuedConnection);
  });
}

ScanController::~ScanController() {
  watcher_.reset();
  if (cancel_) cancel_->cancel();
  if (scanThread_.joinable()) scanThread_.join();
}

bool ScanController::isWatching() const { return watcher_ && watcher_->isWatching(); }

std::optional<ScanController::StoreContents> ScanController::read(const AppEnvironment& environment, double now,
                                                                  std::optional<Unchanged> unchanged,
                                                                  std::shared_ptr<const ScanReport> fresh) {
  const Store& store = environment.store;
  StoreContents contents;
  contents.reportDate = store.modificationDate(Store::File::report);
  if (unchanged && contents.reportDate == unchanged->reportDate) return std::nullopt;
  if (fresh) {
    contents.report = std::move(fresh);
  } else if (auto report = loadReport(store)) {
    contents.report = std::make_shared<const ScanReport>(std::move(*report));
  }
  contents.history = HistoryFiles::history(store);
  contents.folderSamples = HistoryFiles::folderHistory(store);
  contents.growingFolders = Trends::growingFolders(contents.folderSamples, Trends::kShownMinSamples,
                                                   Trends::kShownMinDelta, Trends::kShownLimit);
  const auto kept = KeepList::paths(store);
  contents.keep = {kept.begin(), kept.end()};
  contents.batches = TrashService(environment.home, store, environment.trasher).batches(kBatchDays, now);
  contents.disk = diskInfo(environment.home, environment.volume);
  return contents;
}

void ScanController::load() { startLoad(false); }

void ScanController::reloadIfChanged() { startLoad(true); }

void ScanController::startLoad(bool onlyIfChanged) {
  const int serial = ++readSerial_;
  const auto unchanged = onlyIfChanged && hasLoaded_ ? std::optional(Unchanged{loadedReportDate_}) : std::nullopt;
  offMainThread(
      this, [environment = environment_, unchanged] { return read(environment, secondsSinceEpoch(), unchanged); },
      [this, serial](std::optional<StoreContents> contents) {
        if (serial != readSerial_ || !contents) return;
        apply(std::move(*contents), EventKind::loaded);
      });
}

void ScanController::apply(StoreContents contents, EventKind kind) {
  const bool newReport = (report_ == nullptr) != (contents.report == nullptr) ||
                         (report_ && report_->date != contents.report->date);
  report_ = std::move(contents.report);
  history_ = std::move(contents.history);
  folderSamples_ = std::move(contents.folderSamples);
  growingFolders_ = std::move(contents.growingFolders);
  loadedReportDate_ = contents.reportDate;
  disk_ = contents.disk;
  hasLoaded_ = true;
  emit reportChanged();
  emit diskChanged();
  emit eventSent(Event{kind, std::move(contents.keep), std::move(contents.batches), newReport});
}

void ScanController::scan() {
  if (isScanning_) return;
  isScanning_ = true;
  setScanError(std::nullopt);
  cancel_ = std::make_shared<CancelToken>();
  progress_ = ScanProgress{};
  emit scanningChanged(true);
  emit progressChanged();
  // The previous scan's thread has delivered its result, so it is done or nearly.
  if (scanThread_.joinable()) scanThread_.join();
  scanThread_ = std::thread([this, environment = environment_, cancel = cancel_] {
    platform::yieldToInteractiveWork();  // the scanner's workers inherit it
    ProgressThrottle throttle([this](const ScanProgress& progress) {
      QMetaObject::invokeMethod(
          this,
          [this, progress] {
            if (!isScanning_) return;
            progress_ = progress;
            emit progressChanged();
          },
          Qt::QueuedConnection);
    });
    const ScanPipeline pipeline{environment.store, environment.configuration,
                                environment.preferences.notificationSettings(), environment.probeTools,
                                ScanTrigger::manual};
    auto result = pipeline.run(*cancel, secondsSinceEpoch(), std::ref(throttle));
    auto contents = std::make_shared<std::optional<StoreContents>>();
    std::optional<std::string> error;
    if (result) {
      *contents = read(environment, secondsSinceEpoch(), std::nullopt,
                       std::make_shared<const ScanReport>(std::move(result->report)));
    } else if (result.error().reason != PipelineError::Reason::cancelled) {
      error = result.error().message;
    }
    QMetaObject::invokeMethod(
        this, [this, contents, error] { finishScan(std::move(*contents), error); }, Qt::QueuedConnection);
  });
}

void ScanController::finishScan(std::optional<StoreContents> contents, std::optional<std::string> error) {
  cancel_.reset();
  progress_.reset();
  isScanning_ = false;
  emit progressChanged();
  emit scanningChanged(false);
  if (contents) {
    ++readSerial_;  // a load that started before the scan ended is older than this
    apply(std::move(*contents), EventKind::scanned);
  }
  setScanError(std::move(error));
}

void ScanController::cancelScan() {
  if (cancel_) cancel_->cancel();
}

void ScanController::deleteData() {
  if (isScanning_) return;
  const int serial = ++readSerial_;
  offMainThread(
      this,
      [store = environment_.store]() -> std::optional<std::string> {
        for (const Store::File file : kScanFiles) {
          if (auto removed = store.remove(file); !removed) return removed.error().message;
        }
        return std::nullopt;
      },
      [this, serial](std::optional<std::string> error) {
        if (serial == readSerial_) {
          report_.reset();
          history_.clear();
          folderSamples_.clear();
          growingFolders_.clear();
          loadedReportDate_.reset();
          emit reportChanged();
          emit eventSent(Event{EventKind::cleared, {}, {}, false});
        }
        setScanError(std::move(error));
      });
}

void ScanController::setScanError(std::optional<std::string> error) {
  if (error == scanError_) return;
  scanError_ = std::move(error);
  emit scanErrorChanged();
}

}  // namespace tallyfin::app
