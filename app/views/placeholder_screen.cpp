#include "app/views/placeholder_screen.h"

#include <QBoxLayout>
#include <QLabel>

#include "app/views/screen_parts.h"
#include "app/views/text.h"

namespace tallyfin::app {

QString PlaceholderScreen::plan(Route route) {
  switch (route) {
    case Route::map: return "A map of the scanned disk \u2014 sunburst, treemap or city \u2014 to open any folder.";
    case Route::overview:
    case Route::cleanup:
    case Route::largeFiles:
    case Route::history:
    case Route::aiModels:
    case Route::projects:
    case Route::duplicates:
    case Route::apps:
    case Route::docker:
    case Route::systemData:
    case Route::agents:
    case Route::help:
    case Route::whatsNew:
    case Route::profile: break;
  }
  return {};
}

QString PlaceholderScreen::commandToday(Route route) {
  switch (route) {
    case Route::map: return "tallyfin --no-scan --json (and the MCP tool biggest_folders)";
    case Route::overview:
    case Route::cleanup:
    case Route::largeFiles:
    case Route::history:
    case Route::aiModels:
    case Route::projects:
    case Route::duplicates:
    case Route::apps:
    case Route::docker:
    case Route::systemData:
    case Route::agents:
    case Route::help:
    case Route::whatsNew:
    case Route::profile: break;
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
