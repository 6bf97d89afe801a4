#include "kit/shell/background_agent.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "kit/base/clock.h"
#include "kit/cleanup/keep_list.h"
#include "kit/history/autopilot.h"
#include "kit/platform/io_priority.h"
#include "kit/platform/processes.h"
#include "kit/platform/user_folders.h"
#include "kit/shell/schedule.h"
#include "kit/store/format.h"
#include "kit/platform/probe_environment.h"
#include "kit/tools/tool_probe.h"
#include "kit/trash/trash_service.h"

namespace tallyfin {
namespace {

using platform::LogLevel;

std::string finishedLine(double seconds) {
  char line[96];
  std::snprintf(line, sizeof line, "Scheduled scan finished in %f s", seconds);
  return line;
}

// The system log keeps the story of runs nobody watched; someone who started one
// by hand in a terminal sees it as it happens.
void logLine(LogLevel level, const std::string& line) {
  platform::systemLog(level, line);
  if (::isatty(STDERR_FILENO)) std::fprintf(stderr, "tallyfin: %s\n", line.c_str());
}

// The desktop app: beside this binary when it is the app or an installed tallyfin,
// in the app's own folder of a build tree, else where packages install it.
std::optional<std::string> appExecutable() {
  const std::string self = platform::thisExecutable();
  const std::string folder = self.substr(0, self.rfind('/'));
  return firstExecutable({folder + "/tallyfin-app", folder + "/../app/tallyfin-app", "/usr/local/bin/tallyfin-app",
                          "/usr/bin/tallyfin-app"});
}

void openCleanupScreen() {
  const auto app = appExecutable();
  if (!app) {
    logLine(LogLevel::info, "Review cleanup: the Tallyfin app is not installed");
    return;
  }
  if (auto started = platform::startApart(*app, {"--route", "cleanup"}); !started) {
    logLine(LogLevel::error, started.error().message);
  }
}

}  // namespace

BackgroundSettings BackgroundSettings::forThisUser() {
  const std::string home = platform::homeFolder();
  // One connection for every notification of the run, so their buttons are heard.
  auto notifications = std::make_shared<platform::NotificationSession>();
  return BackgroundSettings{Store::standard(),
                            home,
                            ScanConfiguration::wholeDisk(home),
                            Preferences::standard(),
                            [home] { return ToolProbe::collect(home); },
                            systemTrasher(home),
                            [notifications](const platform::DesktopNotification& shown) { return notifications->post(shown); },
                            [notifications](double seconds) { return notifications->awaitAction(seconds); },
                            openCleanupScreen,
                            logLine,
                            secondsSinceEpoch};
}

int BackgroundAgent::runForThisUser() {
  platform::becomeBackgroundWork();
  BackgroundSettings settings = BackgroundSettings::forThisUser();
  if (auto migrated = settings.preferences.migrateLegacyDefaults(Preferences::legacyFile()); !migrated) {
    settings.log(LogLevel::error, migrated.error().message);
  }
  return BackgroundAgent(std::move(settings)).run();
}

bool BackgroundAgent::isRequested(const std::vector<std::string>& arguments) {
  return std::find(arguments.begin(), arguments.end(), kArgument) != arguments.end();
}

int BackgroundAgent::run() const {
  try {
    scanAndNotify();
    answerNotifications();
  } catch (const std::exception& error) {
    settings_.log(LogLevel::error, std::string("Scheduled scan failed: ") + error.what());
  }
  return 0;
}

void BackgroundAgent::answerNotifications() const {
  if (!shown_ || !settings_.awaitAction) return;
  const auto action = settings_.awaitAction(kAnswerWaitSeconds);
  if (action == kReviewAction && settings_.openCleanup) settings_.openCleanup();
}

void BackgroundAgent::scanAndNotify() const {
  settings_.log(LogLevel::info, "scanAndNotify()");
  const double started = settings_.clock();
  const ScanPipeline pipeline{settings_.store, settings_.configuration, settings_.preferences.notificationSettings(),
                              settings_.probeTools, ScanTrigger::scheduled};
  const CancelToken cancel;
  const auto result = pipeline.run(cancel, started);
  if (!result) {
    if (result.error().reason == PipelineError::Reason::alreadyScanning) {
      settings_.log(LogLevel::info, "Skipped: a scan is already running");
    } else {
      settings_.log(LogLevel::error, "Scheduled scan failed: " + result.error().message);
    }
    return;
  }
  const double now = settings_.clock();
  settings_.log(LogLevel::info, finishedLine(now - started));
  for (const auto& warning : result->warnings) settings_.log(LogLevel::error, warning);

  if (result->notification) post(result->notification->title, result->notification->body);
  // Saved whether or not something was shown: the policy also remembers what it saw.
  NotificationState state = runAutopilot(result->report, result->notificationState.value_or(NotificationState{}), now);
  if (auto saved = settings_.store.save(state, Store::File::notifications); !saved) {
    settings_.log(LogLevel::error, saved.error().message);
  }
}

NotificationState BackgroundAgent::runAutopilot(const ScanReport& report, NotificationState state, double now) const {
  const AutopilotSettings autopilot = settings_.preferences.autopilot();
  if (!autopilot.enabled) return state;
  const auto kept = KeepList::read(settings_.store);
  if (!kept) {
    settings_.log(LogLevel::error, "Autopilot moved nothing: " + kept.error().message);
    return state;
  }
  const auto selected = Autopilot::select(report.items, *kept, autopilot, now);
  if (selected.empty()) return state;
  const TrashService trash(settings_.home, settings_.store, settings_.trasher);
  const TrashOutcome outcome =
      trash.trash(Autopilot::batch(selected, report.tree), std::string(Autopilot::kBatchLabel), now);
  for (const auto& [path, reason] : outcome.failed) settings_.log(LogLevel::info, path + ": " + reason);
  if (outcome.journalError) settings_.log(LogLevel::error, *outcome.journalError);
  if (outcome.journalNote) settings_.log(LogLevel::error, *outcome.journalNote);
  if (outcome.moved.empty()) return state;
  post("Autopilot freed " + Format::bytes(outcome.freedBytes()),
       "Moved " + std::to_string(outcome.moved.size()) +
           " old cache and build folders to the Trash. Undo any time in Tallyfin.");
  settings_.log(LogLevel::info, "Autopilot moved " + std::to_string(outcome.moved.size()) + " items");
  state.lastSent[std::string(caseName(Notification::Kind::autopilot))] = now;
  return state;
}

void BackgroundAgent::post(const std::string& title, const std::string& body) const {
  const platform::DesktopNotification notification{std::string(kCategory), title, body,
                                                   {{std::string(kReviewAction), "Review cleanup"}},
                                                   std::string(kBundleIdentifier)};
  if (auto shown = settings_.post(notification); !shown) {
    settings_.log(LogLevel::info, "Notification not shown: " + shown.error().message);
    return;
  }
  shown_ = true;
}

}  // namespace tallyfin
