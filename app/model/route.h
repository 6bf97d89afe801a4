#pragma once

// The screens of the main window, in the sidebar's order.

#include <array>
#include <optional>
#include <string_view>

namespace tallyfin::app {

enum class Route {
  overview,
  cleanup,
  map,
  largeFiles,
  history,
  aiModels,
  projects,
  duplicates,
  apps,
  docker,
  systemData,
  agents,
  help,
  whatsNew,
  profile,
};

inline constexpr std::array<Route, 15> kRoutes = {
    Route::overview, Route::cleanup,    Route::map,        Route::largeFiles, Route::history,
    Route::aiModels, Route::projects,   Route::duplicates, Route::apps,       Route::docker,
    Route::systemData, Route::agents,   Route::help,       Route::whatsNew,   Route::profile};

// "overview", "largeFiles": what --route takes.
std::string_view caseName(Route route);
// The route of a case name, compared without regard to case ("largefiles" too); none otherwise.
std::optional<Route> routeNamed(std::string_view name);
// What the sidebar shows: "Overview", "Large Files".
std::string_view label(Route route);
// Where the route stands in the sidebar, from 0.
int position(Route route);

}  // namespace tallyfin::app
