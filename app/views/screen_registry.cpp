#include "app/views/screen_registry.h"

#include "app/views/agents_screen.h"
#include "app/views/ai_models_screen.h"
#include "app/views/apps_screen.h"
#include "app/views/cleanup_screen.h"
#include "app/views/docker_screen.h"
#include "app/views/duplicates_screen.h"
#include "app/views/help_screen.h"
#include "app/views/history_screen.h"
#include "app/views/large_files_screen.h"
#include "app/views/map_screen.h"
#include "app/views/overview_screen.h"
#include "app/views/profile_screen.h"
#include "app/views/projects_screen.h"
#include "app/views/system_data_screen.h"
#include "app/views/whats_new_screen.h"

namespace tallyfin::app {
namespace {

template <class Screen>
ScreenRegistry::Factory factory() {
  return [](AppModel& model, QWidget* parent) -> QWidget* { return new Screen(model, parent); };
}

}  // namespace

ScreenRegistry ScreenRegistry::standard() {
  ScreenRegistry registry;
  registry.add(Route::overview, factory<OverviewScreen>());
  registry.add(Route::cleanup, factory<CleanupScreen>());
  registry.add(Route::map, factory<MapScreen>());
  registry.add(Route::largeFiles, factory<LargeFilesScreen>());
  registry.add(Route::history, factory<HistoryScreen>());
  registry.add(Route::aiModels, factory<AIModelsScreen>());
  registry.add(Route::projects, factory<ProjectsScreen>());
  registry.add(Route::duplicates, factory<DuplicatesScreen>());
  registry.add(Route::apps, factory<AppsScreen>());
  registry.add(Route::docker, factory<DockerScreen>());
  registry.add(Route::systemData, factory<SystemDataScreen>());
  registry.add(Route::agents, factory<AgentsScreen>());
  registry.add(Route::help, factory<HelpScreen>());
  registry.add(Route::whatsNew, factory<WhatsNewScreen>());
  registry.add(Route::profile, factory<ProfileScreen>());
  return registry;
}

void ScreenRegistry::add(Route route, Factory factory) { factories_[route] = std::move(factory); }

QWidget* ScreenRegistry::make(Route route, AppModel& model, QWidget* parent) const {
  return factories_.at(route)(model, parent);
}

}  // namespace tallyfin::app
