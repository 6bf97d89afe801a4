#include "app/model/route.h"

#include <algorithm>

#include "kit/base/text.h"

namespace tallyfin::app {

std::string_view caseName(Route route) {
  switch (route) {
    case Route::overview: return "overview";
    case Route::cleanup: return "cleanup";
    case Route::map: return "map";
    case Route::largeFiles: return "largeFiles";
    case Route::history: return "history";
    case Route::aiModels: return "aiModels";
    case Route::projects: return "projects";
    case Route::duplicates: return "duplicates";
    case Route::apps: return "apps";
    case Route::docker: return "docker";
    case Route::systemData: return "systemData";
    case Route::agents: return "agents";
    case Route::help: return "help";
    case Route::whatsNew: return "whatsNew";
    case Route::profile: return "profile";
  }
  return "overview";
}

std::optional<Route> routeNamed(std::string_view name) {
  const std::string wanted = lowercased(name);
  for (const Route route : kRoutes) {
    if (lowercased(caseName(route)) == wanted) return route;
  }
  return std::nullopt;
}

std::string_view label(Route route) {
  switch (route) {
    case Route::overview: return "Overview";
    case Route::cleanup: return "Cleanup";
    case Route::map: return "Disk Map";
    case Route::largeFiles: return "Large Files";
    case Route::history: return "History";
    case Route::aiModels: return "AI Models";
    case Route::projects: return "Projects";
    case Route::duplicates: return "Duplicates";
    case Route::apps: return "Apps";
    case Route::docker: return "Docker";
    case Route::systemData: return "System Data";
    case Route::agents: return "AI Agents";
    case Route::help: return "Help";
    case Route::whatsNew: return "What's New";
    case Route::profile: return "Profile";
  }
  return "";
}

int position(Route route) {
  return static_cast<int>(std::find(kRoutes.begin(), kRoutes.end(), route) - kRoutes.begin());
}

}  // namespace tallyfin::app
