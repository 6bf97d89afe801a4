#pragma once

// The one path every scan takes, whichever front end starts it: lock, scan with
// the tool probes beside it, analyse, save the report and the history files, and
// decide on a notification. Nothing is saved before the report is complete.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "kit/base/expected.h"
#include "kit/cleanup/tool_snapshot.h"
#include "kit/history/history_records.h"
#include "kit/history/notification_policy.h"
#include "kit/scan/scan_configuration.h"
#include "kit/scan/scan_progress.h"
#include "kit/report/scan_report.h"
#include "kit/store/store.h"

namespace tallyfin {

struct PipelineResult {
  ScanReport report;
  std::optional<Notification> notification;
  std::optional<NotificationState> notificationState;
  std::vector<HistoryEntry> history;
  std::vector<FolderSample> folderSamples;
  std::vector<std::string> warnings;  // for the front end to show or log
};

struct PipelineError {
  enum class Reason { dataFolder, alreadyScanning, cancelled, scanFailed, storage };
  Reason reason = Reason::scanFailed;
  std::string message;
};

inline constexpr std::string_view kAlreadyScanningMessage =
    "A scan is already running (the app or a scheduled scan). Try again in a minute.";

// Asks the developer tools what they hold; runs on its own thread beside the scan.
using ToolProbeFunction = std::function<ToolSnapshot()>;

struct ScanPipeline {
  Store store;
  ScanConfiguration configuration;
  NotificationSettings notificationSettings;
  ToolProbeFunction probeTools;  // none: no probes
  ScanTrigger trigger = ScanTrigger::manual;
  double probeTimeoutSeconds = 5.0;

  Expected<PipelineResult, PipelineError> run(const CancelToken& cancel, double now,
                                              const ProgressCallback& progress = {}) const;
};

}  // namespace tallyfin
