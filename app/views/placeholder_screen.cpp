#include "app/views/placeholder_screen.h"

#include <QBoxLayout>
#include <QLabel>

#include "app/views/screen_parts.h"
#include "app/views/text.h"

namespace tallyfin::app {

QString PlaceholderScreen::plan(Route route) {
  switch (route) {
    case Route::map: return "A map of the scanned disk \u2014 sunburst, treemap or city \u2014 to open any folder.";
    case Route::aiModels: return "Local AI models from Ollama, LM Studio and Hugging Face, and weights stored twice.";
    case Route::projects: return "Code projects with their rebuildable clutter, last activity and git state.";
    case Route::duplicates: return "Identical files, each group with the copy to keep.";
    case Route::apps: return "Installed apps with their sizes, and what removed apps left behind.";
    case Route::docker: return "Docker images, containers, volumes, build cache and VM disks.";
    case Route::systemData: return "What fills the system's share of the disk, with the commands that free it.";
    case Route::agents: return "AI assistants connected to Tallyfin's MCP server.";
    case Route::help: return "How Tallyfin decides what is Safe, and how to get things back.";
    case Route::whatsNew: return "What changed in this version.";
    case Route::profile: return "The schedule of automatic scans, Autopilot and notification limits.";
    case Route::overview:
    case Route::cleanup:
    case Route::largeFiles:
    case Route::history: break;
  }
  return {};
}

QString PlaceholderScreen::commandToday(Route route) {
  switch (route) {
    case Route::map: return "tallyfin --no-scan --json (and the MCP tool biggest_folders)";
    case Route::aiModels: return "the MCP tool ai_models (tallyfin mcp)";
    case Route::projects: return "the MCP tool dev_projects (tallyfin mcp)";
    case Route::duplicates: return "tallyfin --duplicates [DIR]";
    case Route::apps: return "tallyfin --apps";
    case Route::docker: return "the MCP tool docker_status (tallyfin mcp)";
    case Route::systemData: return "tallyfin --system-data";
    case Route::agents: return "tallyfin clients, tallyfin connect CLIENT";
    case Route::help: return "tallyfin --help";
    case Route::whatsNew: return "the README";
    case Route::profile: return "tallyfin schedule, tallyfin autopilot";
    case Route::overview:
    case Route::cleanup:
    case Route::largeFiles:
    case Route::history: break;
  }
  return {};
}

PlaceholderScreen::PlaceholderScreen(Route route, QWidget* parent) : QWidget(parent) {
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(24, 18, 24, 18);
  layout->addWidget(pageTitle(qstr(label(route)), this));
  QLabel* line = textLine("Coming next: " + plan(route) + " Today: " + commandToday(route) + ".", this);
  line->setObjectName("plan");
  line->setAccessibleName("What this screen will hold");
  layout->addWidget(line);
  layout->addStretch(1);
}

}  // namespace tallyfin::app
