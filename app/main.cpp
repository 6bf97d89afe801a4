// tallyfin-app: the desktop app. With --background-scan it runs the scheduled
// scan without any window and exits; otherwise it opens the window, or hands its
// arguments to the app already running for this user and exits.

#include <QApplication>

#include <cstdio>
#include <string>
#include <vector>

#include "app/shell/desktop_app.h"
#include "app/shell/launch_options.h"
#include "app/shell/single_instance.h"
#include "kit/platform/system_log.h"
#include "kit/shell/background_agent.h"
#include "kit/shell/schedule.h"

namespace {

using namespace tallyfin;
using namespace tallyfin::app;

constexpr int kBadArguments = 64;

std::vector<std::string> stdArguments(const QStringList& arguments) {
  std::vector<std::string> words;
  for (qsizetype i = 1; i < arguments.size(); ++i) words.push_back(arguments[i].toStdString());
  return words;
}

}  // namespace

int main(int argc, char** argv) {
  // Headless first: a timer's run has no display to open.
  if (BackgroundAgent::isRequested(std::vector<std::string>(argv + 1, argv + argc))) {
    return BackgroundAgent::runForThisUser();
  }

  QApplication application(argc, argv);
  QApplication::setApplicationName("Tallyfin");
  QApplication::setOrganizationDomain("morvek.com");
  QApplication::setDesktopFileName(QString::fromUtf8(kBundleIdentifier.data(), kBundleIdentifier.size()));

  const auto options = parseLaunchOptions(stdArguments(QApplication::arguments()));
  if (!options) {
    std::fprintf(stderr, "tallyfin-app: %s\n%s", options.error().c_str(), kAppUsage.data());
    return kBadArguments;
  }
  if (options->help) {
    std::fputs(kAppUsage.data(), stdout);
    return 0;
  }

  SingleInstance instance;
  const SingleInstance::Role role = instance.start(QApplication::arguments().mid(1));
  if (role == SingleInstance::Role::forwarded) return 0;
  if (role == SingleInstance::Role::alone) {
    platform::systemLog(platform::LogLevel::error, "Another start of Tallyfin cannot reach this window.");
  }

  AppEnvironment environment = AppEnvironment::forThisUser();
  // Before anything reads a preference: the former product's settings come over once.
  if (auto migrated = environment.preferences.migrateLegacyDefaults(Preferences::legacyFile()); !migrated) {
    platform::systemLog(platform::LogLevel::error, migrated.error().message);
  }
  DesktopApp app(std::move(environment));
  QObject::connect(&instance, &SingleInstance::argumentsReceived, &app.window(), [&](const QStringList& arguments) {
    if (const auto forwarded = parseLaunchOptions(stdArguments(QStringList{"tallyfin-app"} + arguments))) {
      app.follow(*forwarded);
    }
  });
  app.start(*options);
  return QApplication::exec();
}
