#include "app/views/placeholder_screen.h"

#include <QBoxLayout>
#include <QLabel>

#include "app/views/screen_parts.h"
#include "app/views/text.h"

namespace tallyfin::app {

QString PlaceholderScreen::plan(Route route) {
  switch (route) {
    case Route::agents: return "AI assistants connected to Tallyfin's MCP server.";
    case Route::help: return "How Tallyfin decides what is Safe, and how to get things back.";
    case Route::whatsNew: return "What changed in this version.";
    case Route::profile: return "The schedule of automatic scans, Autopilot and notification limits.";
    case Route::overview:
    case Route::cleanup:
    case Route::map:
    case Route::largeFiles:
    case Route::history:
    case Route::aiModels:
    case Route::projects:
    case Route::duplicates:
    case Route::apps:
    case Route::docker:
    case Route::systemData: break;
  }
  return {};
}

QString PlaceholderScreen::commandToday(Route route) {
  switch (route) {
    case Route::agents: return "tallyfin clients, tallyfin connect CLIENT";
    case Route::help: return "tallyfin --help";
    case Route::whatsNew: return "the README";
    case Route::profile: return "tallyfin schedule, tallyfin autopilot";
    case Route::overview:
    case Route::cleanup:
    case Route::map:
    case Route::largeFiles:
    case Route::history:
    case Route::aiModels:
    case Route::projects:
    case Route::duplicates:
    case Route::apps:
    case Route::docker:
    case Route::systemData: break;
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
