#include "app/model/app_model.h"

#include <algorithm>

#include "app/model/off_main_thread.h"
#include "kit/base/paths.h"
#include "kit/cleanup/keep_list.h"
#include "kit/store/disk_info.h"

namespace tallyfin::app {

AppModel::AppModel(AppEnvironment environment, QObject* parent)
    : QObject(parent),
      environment_(std::move(environment)),
      scanner_(environment_),
      trash_(environment_.home, TrashService(environment_.home, environment_.store, environment_.trasher)),
      tools_(environment_),
      agents_(environment_.home, environment_.commandLineTool),
      updates_(environment_.preferences, environment_.updateFeed, environment_.downloadFolder),
      map_(environment_.home) {
  const Preferences& preferences = environment_.preferences;
  schedule_ = preferences.schedule();
  autopilot_ = preferences.autopilot();
  notificationSettings_ = preferences.notificationSettings();
  whatsNewUnread_ = preferences.whatsNewSeen() != version();
  showMenuBar_ = preferences.flag(Preferences::Flag::menuBarShow);
  menuBarShowsFree_ = preferences.flag(Preferences::Flag::menuBarShowFree);
  hideDockWhenClosed_ = preferences.flag(Preferences::Flag::menuBarHideDock);
  appearance_ = preferences.appearance();
  projectsStaleOnly_ = preferences.flag(Preferences::Flag::projectsStaleOnly);
  projectsStaleDays_ = preferences.projectsStaleDays();
  tools_.report = [this] { return scanner_.report(); };

  connect(&scanner_, &ScanController::eventSent, this, &AppModel::handle);
  connect(&scanner_, &ScanController::reportChanged, this, [this] {
    map_.setReport(scanner_.report());
    applyMapFocus();
  });
  trash_.reportDate = [this]() -> std::optional<double> {
    const auto& report = scanner_.report();
    return report ? std::optional(report->date) : std::nullopt;
  };
  trash_.onRemovedChange = [this] { recomputeDerived(); };
  trash_.onMoved = [this](const std::vector<std::string>& moved) { setSelected(moved, false); };
  trash_.onNotice = [this](const std::string& text, bool success) { setNotice(text, success); };
  agents_.onNotice = [this](const std::string& text, bool success) { setNotice(text, success); };
}

std::string_view AppModel::version() { return TALLYFIN_VERSION; }

void AppModel::setRoute(Route route) {
  if (route == route_) return;
  route_ = route;
  emit routeChanged(route);
  if (route == Route::whatsNew) markWhatsNewSeen();
}

void AppModel::setHelpTopic(std::string topic) {
  if (topic == helpTopic_) return;
  helpTopic_ = std::move(topic);
  emit helpTopicChanged();
}

void AppModel::openHelp(std::string topic) {
  setHelpTopic(std::move(topic));
  setRoute(Route::help);
}

void AppModel::markWhatsNewSeen() {
  if (!whatsNewUnread_) return;
  whatsNewUnread_ = false;
  emit whatsNewChanged();
  writePreference([](const Preferences& p) { return p.setWhatsNewSeen(std::string(version())); });
}

void AppModel::setSchedule(Schedule schedule) {
  if (schedule == schedule_ || applyingSchedule_) return;
  const Schedule before = schedule_;
  schedule_ = schedule;
  applyingSchedule_ = true;
  emit settingsChanged();
  struct Applied {
    Status saved;
    SchedulerState state;
  };
  offMainThread(
      this,
      [environment = environment_, schedule] {
        Applied applied{environment.preferences.setSchedule(schedule), {}};
        // The timer follows the saved choice only: a scheduled scan reads the preference.
        if (applied.saved) {
          applied.state = environment.applySchedule ? environment.applySchedule(schedule) : SchedulerState{};
        }
        return applied;
      },
      [this, before](Applied applied) {
        applyingSchedule_ = false;
        if (!applied.saved) {
          setNotice(applied.saved.error().message, false);
          schedule_ = before;
        } else {
          scheduleState_ = std::move(applied.state);
        }
        emit settingsChanged();
        emit systemStateChanged();
      });
}

void AppModel::setAutopilot(const AutopilotSettings& settings) {
  if (settings == autopilot_) return;
  autopilot_ = settings;
  emit settingsChanged();
  writePreference([settings](const Preferences& p) { return p.setAutopilot(settings); });
}

std::vector<CleanupItem> AppModel::autopilotPreview(const AutopilotSettings& settings, double now) const {
  AutopilotSettings on = settings;
  on.enabled = true;
  return Autopilot::select(cleanup_, keep_, on, now);
}

void AppModel::setNotificationSettings(const NotificationSettings& settings) {
  if (settings == notificationSettings_) return;
  notificationSettings_ = settings;
  emit settingsChanged();
  writePreference([settings](const Preferences& p) { return p.setNotificationSettings(settings); });
}

void AppModel::showOnDiskMap(const std::string& path) {
  mapFocusRequest_ = path;
  emit mapFocusRequestChanged();
  setRoute(Route::map);
  applyMapFocus();
}

void AppModel::applyMapFocus() {
  if (!mapFocusRequest_ || !scanner_.report()) return;
  map_.focusOn(*std::exchange(mapFocusRequest_, std::nullopt));
  emit mapFocusRequestChanged();
}

void AppModel::toggle(const std::string& path) { setSelected({path}, !selection_.contains(path)); }

void AppModel::setSelected(const std::vector<std::string>& paths, bool selected) {
  bool changed = false;
  for (const auto& path : paths) {
    changed |= selected ? selection_.insert(path).second : selection_.erase(path) > 0;
  }
  if (changed) emit selectionChanged();
}

void AppModel::setKept(std::vector<std::string> paths, bool kept) {
  offMainThread(
      this,
      [store = environment_.store, paths, kept]() -> Expected<std::set<std::string>, Error> {
        std::set<std::string> now = KeepList::paths(store);
        for (const auto& path : paths) {
          auto saved = KeepList::set(store, path, kept);
          if (!saved) return fail(saved.error());
          now = std::move(saved).value();
        }
        return now;
      },
      [this, count = paths.size(), paths, kept](Expected<std::set<std::string>, Error> saved) {
        if (!saved) {
          setNotice(saved.error().message, false);
          return;
        }
        keep_ = std::move(saved).value();
        emit keepChanged();
        if (kept) setSelected(paths, false);
        recomputeDerived();
        const std::string them = count == 1 ? "it" : "them";
        setNotice(kept ? "Keeping " + itemCount(count) + " \u2014 Tallyfin won't suggest " + them + " again."
                       : "Suggesting " + itemCount(count) + " again.",
                  true);
      });
}

void AppModel::setCleanupFilter(std::optional<Safety> safety, std::optional<CleanupCategory> category) {
  if (safety == cleanupSafety_ && category == cleanupCategory_) return;
  cleanupSafety_ = safety;
  cleanupCategory_ = category;
  emit filterChanged();
}

void AppModel::setShowMenuBar(bool show) {
  if (show == showMenuBar_) return;
  showMenuBar_ = show;
  emit menuBarChanged();
  writePreference([show](const Preferences& p) { return p.setFlag(Preferences::Flag::menuBarShow, show); });
}

void AppModel::setMenuBarShowsFree(bool show) {
  if (show == menuBarShowsFree_) return;
  menuBarShowsFree_ = show;
  emit menuBarChanged();
  writePreference([show](const Preferences& p) { return p.setFlag(Preferences::Flag::menuBarShowFree, show); });
}

void AppModel::setHideDockWhenClosed(bool hide) {
  if (hide == hideDockWhenClosed_) return;
  hideDockWhenClosed_ = hide;
  emit menuBarChanged();
  writePreference([hide](const Preferences& p) { return p.setFlag(Preferences::Flag::menuBarHideDock, hide); });
}

void AppModel::setAppearance(Appearance appearance) {
  if (appearance == appearance_) return;
  appearance_ = appearance;
  emit appearanceChanged(appearance);
  writePreference([appearance](const Preferences& p) { return p.setAppearance(appearance); });
}

void AppModel::writePreference(std::function<Status(const Preferences&)> write) {
  offMainThread(
      this, [preferences = environment_.preferences, write = std::move(write)] { return write(preferences); },
      [this](Status written) {
        if (!written) setNotice(written.error().message, false);
      });
}

void AppModel::setLaunched() {
  if (launched_) return;
  launched_ = true;
  emit launchedChanged();
}

void AppModel::setNotice(std::string text, bool success) {
  notice_ = std::move(text);
  noticeIsSuccess_ = success;
  emit noticeChanged();
}

void AppModel::dismissNotice() {
  if (!notice_) return;
  notice_.reset();
  emit noticeChanged();
}

void AppModel::handle(const ScanController::Event& event) {
  using Kind = ScanController::EventKind;
  batchingUpdates_ = true;
  const bool newReport = (event.kind == Kind::loaded && event.newReport) || event.kind == Kind::scanned ||
                         event.kind == Kind::cleared;
  if (newReport) {
    if (!selection_.empty()) {
      selection_.clear();
      emit selectionChanged();
    }
    tools_.reset();
    trash_.clear();
  }
  if (event.kind == Kind::loaded) {
    if (event.keep != keep_) {
      keep_ = event.keep;
      emit keepChanged();
    }
    trash_.apply(event.batches);
    trash_.refresh();
  }
  // Another process may have moved things or put them back without a new report.
  if (event.kind == Kind::folderChanged) trash_.reloadBatches();
  refreshSystemState();
  batchingUpdates_ = false;
  recomputeDerived();
}

void AppModel::refreshSystemState() {
  struct State {
    bool fullDiskAccess;
    SchedulerState schedule;
  };
  offMainThread(
      this,
      [environment = environment_] {
        return State{hasFullDiskAccess(environment.home),
                     environment.scheduleState ? environment.scheduleState(environment.preferences.schedule())
                                               : SchedulerState{}};
      },
      [this](State state) {
        fullDiskAccessNow_ = state.fullDiskAccess;
        scheduleState_ = std::move(state.schedule);
        emit systemStateChanged();
      });
}

void AppModel::recomputeDerived() {
  if (batchingUpdates_) return;
  const auto& report = scanner_.report();
  const HiddenPaths hidden{{keep_.begin(), keep_.end()}, {trash_.removed().begin(), trash_.removed().end()}};
  cleanup_.clear();
  if (report) {
    std::copy_if(report->items.begin(), report->items.end(), std::back_inserter(cleanup_),
                 [&](const CleanupItem& item) { return !hidden.contains(item.path); });
  }
  // A tick on something no longer listed would move it unseen.
  std::vector<std::string> gone;
  for (const auto& path : selection_) {
    if (std::none_of(cleanup_.begin(), cleanup_.end(), [&](const CleanupItem& item) { return item.path == path; })) {
      gone.push_back(path);
    }
  }
  emit cleanupChanged();
  setSelected(gone, false);
  map_.recommend(hidden, scanner_.growingFolders());
}

// What the scan saw at `path`, so that an item replaced since then (a folder swapped
// for a link, say) stays where it is.
std::optional<ItemIdentity> AppModel::seenInScan(const std::string& path) const {
  // Items the map listed live are not in the report; the listing saw them.
  if (auto listed = map_.seenInListing(path)) return listed;
  const auto& report = scanner_.report();
  if (!report) return std::nullopt;
  return ItemIdentity::inScan(report->tree, path);
}

void AppModel::trashSelection() { trashSuggestions(selection_, "Cleanup"); }

void AppModel::trashSuggestions(const std::set<std::string>& paths, const std::string& what) {
  std::vector<TrashItem> items;
  std::string label;
  for (const auto& item : cleanup_) {
    if (!paths.contains(item.path) || !item.trashable) continue;
    items.push_back({item.path, item.size, TrashItem::Origin::suggestion, seenInScan(item.path)});
    label = item.title;
  }
  if (items.size() != 1) label = what + ": " + itemCount(items.size());
  trash_.trash(std::move(items), label);
}

void AppModel::trashFiles(std::vector<std::pair<std::string, int64_t>> files, std::string label) {
  std::vector<TrashItem> items;
  for (auto& [path, size] : files) {
    auto seen = seenInScan(path);
    items.push_back({std::move(path), size, TrashItem::Origin::userChoice, std::move(seen)});
  }
  trash_.trash(std::move(items), std::move(label));
}

void AppModel::undo(const std::string& batchId) { trash_.undo(batchId); }

void AppModel::uninstall(const InstalledApp& app, const std::vector<AppLeftover>& leftovers) {
  if (app.refusal) {
    setNotice(app.name + " can't be removed here: " + *app.refusal + ".", false);
    return;
  }
  auto removal = AppUninstaller::uninstallBatch(app, leftovers, home());
  trash_.trash(std::move(removal.items), std::move(removal.label));
}

void AppModel::removeLeftovers(const std::vector<std::pair<OrphanGroup, std::vector<AppLeftover>>>& chosen) {
  std::vector<TrashItem> items;
  std::string label;
  for (const auto& [group, leftovers] : chosen) {
    auto removal = AppUninstaller::leftoversBatch(group, leftovers, home());
    items.insert(items.end(), removal.items.begin(), removal.items.end());
    label = std::move(removal.label);
  }
  if (chosen.size() != 1) label = "Leftovers of " + std::to_string(chosen.size()) + " removed apps";
  trash_.trash(std::move(items), std::move(label));
}

void AppModel::trashDuplicates(std::vector<DuplicateRemoval> removals) {
  std::vector<TrashItem> items;
  for (const auto& removal : removals) {
    for (const auto& extra : removal.extras) {
      // What a copy frees is what it does not share with a clone.
      // The search read a regular file there; a link put in its place stays.
      items.push_back({extra.path, extra.privateSize, TrashItem::Origin::userChoice,
                       ItemIdentity{ItemIdentity::Type::file, std::nullopt, std::nullopt}});
    }
  }
  const std::string label = items.size() == 1 ? "Duplicate: " + std::string(lastComponent(items.front().path))
                                              : "Duplicates: " + itemCount(items.size());
  trash_.trash(std::move(items), label, [removals = std::move(removals)](std::vector<TrashItem>& moving) {
    std::vector<std::pair<std::string, std::string>> held;
    for (const auto& removal : removals) {
      std::vector<std::string> extras;
      for (const auto& extra : removal.extras) extras.push_back(extra.path);
      const auto same = DuplicateFinder::confirmed(removal.keeper, extras);
      for (const auto& extra : extras) {
        if (std::find(same.begin(), same.end(), extra) != same.end()) continue;
        held.emplace_back(extra, "No longer the same as the copy kept \u2014 left in place");
        std::erase_if(moving, [&](const TrashItem& item) { return item.path == extra; });
      }
    }
    return held;
  });
}

void AppModel::trashClutter(const std::set<std::string>& paths) { trashSuggestions(paths, "Project clutter"); }

void AppModel::trashModel(const AIModel& model) {
  if (const auto command = model.command()) {
    setNotice(model.name + " is kept in Ollama's own store \u2014 remove it with `" + *command + "`.", false);
    return;
  }
  trash_.trash({{model.path, model.size, TrashItem::Origin::userChoice, seenInScan(model.path)}},
               "Model: " + model.name);
}

void AppModel::setProjectsStale(bool only, int days) {
  if (only == projectsStaleOnly_ && days == projectsStaleDays_) return;
  const bool daysChanged = days != projectsStaleDays_;
  const bool onlyChanged = only != projectsStaleOnly_;
  projectsStaleOnly_ = only;
  projectsStaleDays_ = days;
  emit projectsFilterChanged();
  writePreference([only, days, onlyChanged, daysChanged](const Preferences& p) -> Status {
    if (onlyChanged) {
      if (auto written = p.setFlag(Preferences::Flag::projectsStaleOnly, only); !written) return written;
    }
    return daysChanged ? p.setProjectsStaleDays(days) : ok();
  });
}

}  // namespace tallyfin::app
