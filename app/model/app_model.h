#pragma once

// The one model every screen of the app observes: the current screen, the ticked
// items, the keep list, the settings the app mirrors, the notice banner, and the
// scan controller, the Trash coordinator and the tool results it owns. All of it
// is read and written on the main thread.

#include <QObject>

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "app/model/agent_connections.h"
#include "app/model/app_environment.h"
#include "app/model/map_model.h"
#include "app/model/route.h"
#include "app/model/scan_controller.h"
#include "app/model/tool_results.h"
#include "app/model/trash_coordinator.h"
#include "app/model/update_model.h"
#include "kit/cleanup/cleanup_item.h"
#include "kit/shell/scheduler.h"

namespace tallyfin::app {

class AppModel : public QObject {
  Q_OBJECT

 public:
  // Reads the settings it mirrors at once: the window needs them before it shows.
  explicit AppModel(AppEnvironment environment, QObject* parent = nullptr);

  ScanController& scanner() { return scanner_; }
  const ScanController& scanner() const { return scanner_; }
  TrashCoordinator& trash() { return trash_; }
  const TrashCoordinator& trash() const { return trash_; }
  ToolResults& tools() { return tools_; }
  AgentConnections& agents() { return agents_; }
  UpdateModel& updates() { return updates_; }
  // This version of Tallyfin, "0.1.0".
  static std::string_view version();
  MapModel& map() { return map_; }
  const std::string& home() const { return environment_.home; }
  const Store& store() const { return environment_.store; }
  const std::string& preferencesFile() const { return environment_.preferences.file(); }

  Route route() const { return route_; }
  void setRoute(Route route);

  // Paths ticked on the cleanup screen.
  const std::set<std::string>& selection() const { return selection_; }
  void toggle(const std::string& path);
  void setSelected(const std::vector<std::string>& paths, bool selected);

  const std::set<std::string>& keep() const { return keep_; }
  // Adds the paths to keep.json (or takes them out), off the main thread.
  void setKept(std::vector<std::string> paths, bool kept);

  // The report's suggestions minus what was kept or moved since.
  const std::vector<CleanupItem>& cleanup() const { return cleanup_; }
  std::optional<Safety> cleanupSafety() const { return cleanupSafety_; }
  std::optional<CleanupCategory> cleanupCategory() const { return cleanupCategory_; }
  void setCleanupFilter(std::optional<Safety> safety, std::optional<CleanupCategory> category);

  // "Show on Disk Map": the path the map opens at, until the map has a report to open it in.
  const std::optional<std::string>& mapFocusRequest() const { return mapFocusRequest_; }
  void showOnDiskMap(const std::string& path);

  const std::optional<SchedulerState>& scheduleState() const { return scheduleState_; }
  Schedule schedule() const { return schedule_; }
  // Saves the schedule and registers its timer off the main thread; the state follows.
  void setSchedule(Schedule schedule);
  bool isApplyingSchedule() const { return applyingSchedule_; }

  const AutopilotSettings& autopilot() const { return autopilot_; }
  void setAutopilot(const AutopilotSettings& settings);
  // What Autopilot would move if it ran now with `settings` turned on: the listed
  // suggestions it picks, so the user sees the effect of an age before choosing it.
  std::vector<CleanupItem> autopilotPreview(const AutopilotSettings& settings, double now) const;

  const NotificationSettings& notificationSettings() const { return notificationSettings_; }
  void setNotificationSettings(const NotificationSettings& settings);
  bool fullDiskAccessNow() const { return fullDiskAccessNow_; }

  bool showMenuBar() const { return showMenuBar_; }
  bool menuBarShowsFree() const { return menuBarShowsFree_; }
  bool hideDockWhenClosed() const { return hideDockWhenClosed_; }
  void setShowMenuBar(bool show);
  void setMenuBarShowsFree(bool show);
  void setHideDockWhenClosed(bool hide);
  Appearance appearance() const { return appearance_; }
  void setAppearance(Appearance appearance);

  // The help article shown, by its name ("trash-and-undo").
  const std::string& helpTopic() const { return helpTopic_; }
  void setHelpTopic(std::string topic);
  // Shows the help screen at an article.
  void openHelp(std::string topic);

  // The release notes of this version have not been opened yet.
  bool whatsNewUnread() const { return whatsNewUnread_; }
  void markWhatsNewSeen();

  // The first window has appeared.
  bool launched() const { return launched_; }
  void setLaunched();

  const std::optional<std::string>& notice() const { return notice_; }
  bool noticeIsSuccess() const { return noticeIsSuccess_; }
  void setNotice(std::string text, bool success);
  void dismissNotice();

  bool batchingUpdates() const { return batchingUpdates_; }

  // Reacts to what the scan controller did.
  void handle(const ScanController::Event& event);
  // Moves the ticked suggestions that may move to the Trash, as one batch.
  void trashSelection();
  // Moves files or folders the user picked (large files, the disk map), as one batch.
  void trashFiles(std::vector<std::pair<std::string, int64_t>> files, std::string label);
  void undo(const std::string& batchId);

  // The disk tools' moves, each one batch through the Trash coordinator.
  // The app with the chosen leftovers; an app that may not go is refused with its reason.
  void uninstall(const InstalledApp& app, const std::vector<AppLeftover>& leftovers);
  // The chosen leftovers of removed apps, all in one batch.
  void removeLeftovers(const std::vector<std::pair<OrphanGroup, std::vector<AppLeftover>>>& chosen);
  // The copies to remove from one set of identical files, and the copy that stays.
  struct DuplicateRemoval {
    std::string keeper;
    std::vector<DuplicateGroup::File> extras;
  };
  // Each extra is compared byte for byte with its keeper right before the move;
  // one that differs stays, and the notice says so.
  void trashDuplicates(std::vector<DuplicateRemoval> removals);
  // Ticked clutter of the projects screen: suggestions of the report.
  void trashClutter(const std::set<std::string>& paths);
  // A model's own folder; Ollama's models are removed with its command instead.
  void trashModel(const AIModel& model);
  // The projects screen's filter, mirrored from the preferences.
  bool projectsStaleOnly() const { return projectsStaleOnly_; }
  int projectsStaleDays() const { return projectsStaleDays_; }
  void setProjectsStale(bool only, int days);

  // Works out the cleanup list again, unless a batch of updates is under way.
  void recomputeDerived();

 signals:
  void routeChanged(tallyfin::app::Route route);
  void selectionChanged();
  void keepChanged();
  void cleanupChanged();
  void filterChanged();
  void systemStateChanged();
  void menuBarChanged();
  void appearanceChanged(tallyfin::Appearance appearance);
  void launchedChanged();
  void noticeChanged();
  void projectsFilterChanged();
  // The schedule, Autopilot or notification settings changed.
  void settingsChanged();
  void helpTopicChanged();
  void whatsNewChanged();
  void mapFocusRequestChanged();

 private:
  void refreshSystemState();
  // Hands the map's focus request to the map once there is a report to show it in.
  void applyMapFocus();
  std::optional<ItemIdentity> seenInScan(const std::string& path) const;
  // Writes one preference off the main thread; a failure becomes the notice.
  void writePreference(std::function<Status(const Preferences&)> write);
  // The listed suggestions among `paths` that may move, as one batch named after
  // the one item or after `what` they are.
  void trashSuggestions(const std::set<std::string>& paths, const std::string& what);

  AppEnvironment environment_;
  ScanController scanner_;
  TrashCoordinator trash_;
  ToolResults tools_;
  AgentConnections agents_;
  UpdateModel updates_;
  MapModel map_;
  std::optional<std::string> mapFocusRequest_;
  Route route_ = Route::overview;
  std::set<std::string> selection_;
  std::set<std::string> keep_;
  std::vector<CleanupItem> cleanup_;
  std::optional<Safety> cleanupSafety_;
  std::optional<CleanupCategory> cleanupCategory_;
  std::optional<SchedulerState> scheduleState_;
  Schedule schedule_ = Schedule::off;
  bool applyingSchedule_ = false;
  AutopilotSettings autopilot_;
  NotificationSettings notificationSettings_;
  std::string helpTopic_;
  bool whatsNewUnread_ = false;
  bool fullDiskAccessNow_ = true;
  bool showMenuBar_ = true;
  bool menuBarShowsFree_ = true;
  bool hideDockWhenClosed_ = false;
  Appearance appearance_ = Appearance::system;
  bool launched_ = false;
  std::optional<std::string> notice_;
  bool noticeIsSuccess_ = false;
  bool batchingUpdates_ = false;
  bool projectsStaleOnly_ = false;
  int projectsStaleDays_ = ProjectScanner::kDefaultStaleDays;
};

}  // namespace tallyfin::app
