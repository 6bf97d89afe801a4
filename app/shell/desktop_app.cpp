#include "app/shell/desktop_app.h"

#include "app/views/screen_registry.h"

#include <QApplication>
#include <QIcon>

// Resources of a static library are loaded by hand, by a name outside any namespace.
static void loadResources() { Q_INIT_RESOURCE(app); }

namespace tallyfin::app {
namespace {

// The icon lives in the views library's resources.
AppEnvironment withIcon(AppEnvironment environment) {
  loadResources();
  QApplication::setWindowIcon(QIcon(":/icons/com.morvek.Tallyfin.svg"));
  return environment;
}

}  // namespace

DesktopApp::DesktopApp(AppEnvironment environment)
    : model_(withIcon(std::move(environment))),
      appearance_(model_),
      window_(model_, ScreenRegistry::standard()),
      tray_(model_, window_) {}

void DesktopApp::start(const LaunchOptions& options) {
  open(options);
  window_.show();
  model_.scanner().load();
  model_.updates().checkIfDue();
}

void DesktopApp::follow(const LaunchOptions& options) {
  open(options);
  window_.bringToFront();
}

void DesktopApp::open(const LaunchOptions& options) {
  if (options.route) model_.setRoute(*options.route);
  if (options.map) {
    model_.map().setKind(*options.map);
    model_.setRoute(Route::map);
  }
}

}  // namespace tallyfin::app
