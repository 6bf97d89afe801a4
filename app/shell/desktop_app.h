#pragma once

// The windowed app as it starts: the model, light or dark, the main window and
// the tray icon, in the order each needs the other.

#include <optional>

#include "app/model/app_model.h"
#include "app/shell/appearance.h"
#include "app/shell/launch_options.h"
#include "app/views/main_window.h"
#include "app/views/tray_icon.h"

namespace tallyfin::app {

class DesktopApp {
 public:
  explicit DesktopApp(AppEnvironment environment);

  AppModel& model() { return model_; }
  MainWindow& window() { return window_; }

  // Shows the window at the chosen screen and loads the saved report behind it.
  void start(const LaunchOptions& options);
  // What a later start asked for: its screen, in front.
  void follow(const LaunchOptions& options);

 private:
  // The screen (and map layout) the options ask for.
  void open(const LaunchOptions& options);

  AppModel model_;
  AppearanceFollower appearance_;
  MainWindow window_;
  TrayIcon tray_;
};

}  // namespace tallyfin::app
