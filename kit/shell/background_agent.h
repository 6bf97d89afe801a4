#pragma once

// The headless run a timer starts: one scan with the scheduled trigger, at most
// the notification the policy asks for, Autopilot's move of old safe clutter, and
// an exit with status 0 whatever happened. It leaves its story in the system log.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/platform/desktop_notifier.h"
#include "kit/platform/system_log.h"
#include "kit/pipeline/scan_pipeline.h"
#include "kit/shell/preferences.h"
#include "kit/platform/trasher.h"

namespace tallyfin {

struct BackgroundSettings {
  Store store;
  std::string home;
  ScanConfiguration configuration;
  Preferences preferences;
  ToolProbeFunction probeTools;
  std::shared_ptr<Trasher> trasher;
  std::function<Status(const platform::DesktopNotification&)> post;
  // Waits up to the seconds given for a button pressed on what `post` showed; its
  // identifier. None, or an empty function, when nobody answers.
  std::function<std::optional<std::string>(double seconds)> awaitAction;
  // Opens the app at its cleanup screen, for the "Review cleanup" button.
  std::function<void()> openCleanup;
  std::function<void(platform::LogLevel, const std::string&)> log;
  std::function<double()> clock;

  // The user's own store, preferences, Trash, desktop and system log; the whole disk.
  static BackgroundSettings forThisUser();
};

class BackgroundAgent {
 public:
  static constexpr std::string_view kArgument = "--background-scan";
  static constexpr std::string_view kCategory = "tallyfin.scan";
  static constexpr std::string_view kReviewAction = "review";
  // How long the run stays to hear a button pressed on its notification.
  static constexpr double kAnswerWaitSeconds = 600;

  // Whether the arguments ask for the headless run; the flag counts anywhere among them.
  static bool isRequested(const std::vector<std::string>& arguments);

  explicit BackgroundAgent(BackgroundSettings settings) : settings_(std::move(settings)) {}

  // Scans, notifies and runs Autopilot; the process's exit status, always 0.
  int run() const;

  // The whole headless run for the user who started it, at background priority,
  // with the former product's preferences carried over first.
  static int runForThisUser();

 private:
  void scanAndNotify() const;
  // Moves what Autopilot picks from the report; the notification state as it then stands.
  NotificationState runAutopilot(const ScanReport& report, NotificationState state, double now) const;
  void post(const std::string& title, const std::string& body) const;
  // Opens the cleanup screen when the user presses "Review cleanup" in time.
  void answerNotifications() const;

  BackgroundSettings settings_;
  mutable bool shown_ = false;
};

}  // namespace tallyfin
