#pragma once

// Everything outside the app that its model reads, writes or asks: the home folder,
// the data folder, the preferences, the scan's configuration, the Trash and the
// scheduler. Tests point all of it at a temporary home.

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kit/pipeline/scan_pipeline.h"
#include "kit/shell/preferences.h"
#include "kit/shell/scheduler.h"
#include "kit/store/store.h"
#include "kit/platform/trasher.h"
#include "kit/update/release_key.h"

namespace tallyfin::app {

struct AppEnvironment {
  std::string home;
  Store store;
  Preferences preferences;
  ScanConfiguration configuration;
  ToolProbeFunction probeTools;
  std::shared_ptr<Trasher> trasher;
  // The state of the automatic scan agent for a schedule; it may ask the system.
  std::function<SchedulerState(Schedule)> scheduleState;
  // Registers the agent of a schedule (and unregisters the other); its state then.
  std::function<SchedulerState(Schedule)> applySchedule;
  // The volume the disk bar and the tray describe.
  std::string volume = "/";
  // Where the disk tools look: the folders apps are installed in, and the places a
  // docker or flatpak command is looked for (in order), each time one is asked.
  std::vector<std::string> applicationFolders;
  std::vector<std::string> dockerPlaces;
  std::vector<std::string> flatpakPlaces;
  // The command-line tool the AI assistants are told to start as the MCP server.
  std::string commandLineTool;
  // Where newer releases are announced, and the key that must have signed them;
  // none: this build's own feed and the release key.
  struct UpdateFeed {
    std::string url;
    PublicKey key = kReleasePublicKey;
  };
  std::optional<UpdateFeed> updateFeed;
  // Where a newer release's package is downloaded to.
  std::string downloadFolder;

  // This user's home, data folder, preferences, Trash and timers; the whole disk.
  static AppEnvironment forThisUser();
};

}  // namespace tallyfin::app
