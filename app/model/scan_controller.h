#pragma once

// The saved report, its history and the running scan, for every screen to show.
// All of it lives on the main thread; reading the store and scanning happen on
// other threads, and their results come back here. Scan progress reaches the main
// thread only through the throttle.

#include <QObject>

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "app/model/app_environment.h"
#include "kit/history/history_records.h"
#include "kit/platform/folder_watcher.h"
#include "kit/scan/scan_progress.h"
#include "kit/report/scan_report.h"
#include "kit/trash/journal.h"

namespace tallyfin::app {

class ScanController : public QObject {
  Q_OBJECT

 public:
  enum class EventKind { loaded, scanned, cleared, folderChanged };
  struct Event {
    EventKind kind = EventKind::loaded;
    std::set<std::string> keep;       // loaded: the keep list as stored
    std::vector<TrashBatch> batches;  // loaded: the journal's batches, newest first
    bool newReport = false;           // loaded: the report's date changed
  };

  // What one read of the store gives.
  struct StoreContents {
    std::optional<double> reportDate;  // report.json's modification date
    std::shared_ptr<const ScanReport> report;
    std::vector<HistoryEntry> history;
    std::vector<FolderSample> folderSamples;
    std::vector<FolderTrend> growingFolders;
    std::set<std::string> keep;
    std::vector<TrashBatch> batches;
    DiskInfo disk;
  };

  explicit ScanController(AppEnvironment environment, QObject* parent = nullptr);
  // Stops watching, cancels a running scan and waits for it.
  ~ScanController() override;

  const AppEnvironment& environment() const { return environment_; }
  const std::shared_ptr<const ScanReport>& report() const { return report_; }
  const std::vector<HistoryEntry>& history() const { return history_; }
  const std::vector<FolderSample>& folderSamples() const { return folderSamples_; }
  const std::vector<FolderTrend>& growingFolders() const { return growingFolders_; }
  const std::optional<ScanProgress>& progress() const { return progress_; }
  const std::optional<std::string>& scanError() const { return scanError_; }
  bool isScanning() const { return isScanning_; }
  // Whether the first load has finished, so "no report" means there is none.
  bool hasLoaded() const { return hasLoaded_; }
  std::optional<double> loadedReportDate() const { return loadedReportDate_; }
  // The volume as it is now, read with every load.
  const std::optional<DiskInfo>& disk() const { return disk_; }
  // Whether reports written by other processes will show.
  bool isWatching() const;

  // Reads everything from the store, off the main thread.
  void load();
  // `load` only when report.json changed since the last load.
  void reloadIfChanged();
  // Starts a scan unless one is running.
  void scan();
  // Asks the running scan to stop at its next check.
  void cancelScan();
  // Forgets the saved report, history and change tracking; the keep list and the
  // journal stay.
  void deleteData();

  // When read() may skip: report.json still has this modification date (none: still missing).
  struct Unchanged {
    std::optional<double> reportDate;
  };

  // The store as it stands, read on the calling thread; none when `unchanged` says
  // there is nothing new. Takes `fresh` as the report instead of reading it.
  static std::optional<StoreContents> read(const AppEnvironment& environment, double now,
                                           std::optional<Unchanged> unchanged = std::nullopt,
                                           std::shared_ptr<const ScanReport> fresh = nullptr);

 signals:
  // The report, history, folder samples or growing folders changed.
  void reportChanged();
  void progressChanged();
  void scanningChanged(bool scanning);
  void scanErrorChanged();
  void diskChanged();
  void eventSent(const tallyfin::app::ScanController::Event& event);

 private:
  void startLoad(bool onlyIfChanged);
  void apply(StoreContents contents, EventKind kind);
  void finishScan(std::optional<StoreContents> contents, std::optional<std::string> error);
  void setScanError(std::optional<std::string> error);

  AppEnvironment environment_;
  std::shared_ptr<const ScanReport> report_;
  std::vector<HistoryEntry> history_;
  std::vector<FolderSample> folderSamples_;
  std::vector<FolderTrend> growingFolders_;
  std::optional<ScanProgress> progress_;
  std::optional<std::string> scanError_;
  bool isScanning_ = false;
  bool hasLoaded_ = false;
  std::optional<double> loadedReportDate_;
  std::optional<DiskInfo> disk_;
  std::shared_ptr<CancelToken> cancel_;
  std::thread scanThread_;
  // Loads and scans finish in any order; only the latest one started counts.
  int readSerial_ = 0;
  std::unique_ptr<platform::FolderWatcher> watcher_;
};

}  // namespace tallyfin::app
