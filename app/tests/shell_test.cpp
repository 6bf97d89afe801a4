// How tallyfin-app starts: one app per user, --route, and the headless scan.

#include <QProcess>
#include <QProcessEnvironment>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include "app/shell/appearance.h"
#include "app/shell/launch_options.h"
#include "app/shell/single_instance.h"
#include "app/tests/app_home.h"
#include "app/views/tray_icon.h"
#include "kit/scan/scan_lock.h"

namespace tallyfin::app {
namespace {

using testing::AppHome;
using testing::eventually;

// The app's environment for a child: the temp home, offscreen, its own runtime folder.
QProcessEnvironment childEnvironment(const AppHome& home) {
  QProcessEnvironment environment;
  for (const auto& variable : home.childEnvironment()) {
    const QString text = QString::fromStdString(variable);
    environment.insert(text.section('=', 0, 0), text.section('=', 1));
  }
  environment.insert("QT_QPA_PLATFORM", "offscreen");
  return environment;
}

TEST(LaunchOptions, RouteNamesHelpAndMistakes) {
  EXPECT_EQ(parseLaunchOptions({})->route, std::nullopt);
  EXPECT_EQ(parseLaunchOptions({"--route", "cleanup"})->route, Route::cleanup);
  EXPECT_EQ(parseLaunchOptions({"--route", "largeFiles"})->route, Route::largeFiles);
  EXPECT_TRUE(parseLaunchOptions({"--help"})->help);
  EXPECT_EQ(parseLaunchOptions({"--route"}).error(), "--route needs a screen name");
  EXPECT_EQ(parseLaunchOptions({"--route", "trash"}).error(), "there is no screen named trash");
  EXPECT_EQ(parseLaunchOptions({"--verbose"}).error(), "unknown option --verbose");
  EXPECT_EQ(parseLaunchOptions({"--map", "City"})->map, MapKind::city);
  EXPECT_EQ(parseLaunchOptions({"--map", "treemap", "--route", "map"})->map, MapKind::treemap);
  EXPECT_EQ(parseLaunchOptions({"--map"}).error(), "--map needs a layout: sunburst, treemap or city");
  EXPECT_EQ(parseLaunchOptions({"--map", "pie"}).error(),
            "there is no map layout named pie (sunburst, treemap, city)");
}

TEST(SingleInstance, ALaterStartHandsItsArgumentsToTheRunningAppAndEnds) {
  AppHome home;
  qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(home / "run"));
  SingleInstance running;
  ASSERT_EQ(running.start({}), SingleInstance::Role::primary);
  EXPECT_TRUE(SingleInstance::socketPath().startsWith(QString::fromStdString(home / "run/")));
  QSignalSpy received(&running, &SingleInstance::argumentsReceived);

  QProcess later;
  later.setProcessEnvironment(childEnvironment(home));
  later.start(TALLYFIN_APP_BINARY, {"--route", "cleanup"});
  ASSERT_TRUE(eventually([&] { return later.state() == QProcess::NotRunning; }));
  EXPECT_EQ(later.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(later.exitCode(), 0) << later.readAllStandardError().toStdString();
  ASSERT_EQ(received.count(), 1);
  EXPECT_EQ(received.front().front().toStringList(), (QStringList{"--route", "cleanup"}));

  qunsetenv("XDG_RUNTIME_DIR");
}

TEST(SingleInstance, AStaleSocketIsReplaced) {
  AppHome home;
  qputenv("XDG_RUNTIME_DIR", QByteArray::fromStdString(home / "run"));
  // What an app that crashed leaves: something at the path that nobody answers on.
  tallyfin::testing::writeFile(home / "run/com.morvek.Tallyfin.socket");
  SingleInstance fresh;
  EXPECT_EQ(fresh.start({}), SingleInstance::Role::primary);
  qunsetenv("XDG_RUNTIME_DIR");
}

TEST(BackgroundScanOfTheApp, RunsWithoutAnyWindowAndExitsZero) {
  AppHome home;
  // Held, so the headless run ends at once instead of scanning the whole disk.
  auto lock = ScanLock::acquire(home.store());
  ASSERT_TRUE(lock.ok());
  QProcess app;
  QProcessEnvironment environment = childEnvironment(home);
  // A window would need this display, and there is none: only a windowless run can pass.
  environment.insert("QT_QPA_PLATFORM", "xcb");
  environment.remove("DISPLAY");
  environment.remove("WAYLAND_DISPLAY");
  app.setProcessEnvironment(environment);
  app.start(TALLYFIN_APP_BINARY, {"--background-scan"});
  ASSERT_TRUE(app.waitForFinished(60'000));
  EXPECT_EQ(app.exitStatus(), QProcess::NormalExit);
  EXPECT_EQ(app.exitCode(), 0) << app.readAllStandardError().toStdString();
  EXPECT_EQ(app.readAllStandardOutput(), "");
}

TEST(AppBinary, AMistakeInTheArgumentsSaysWhatAndExits64) {
  AppHome home;
  QProcess app;
  app.setProcessEnvironment(childEnvironment(home));
  app.start(TALLYFIN_APP_BINARY, {"--route", "nowhere"});
  ASSERT_TRUE(app.waitForFinished(60'000));
  EXPECT_EQ(app.exitCode(), 64);
  EXPECT_TRUE(app.readAllStandardError().startsWith("tallyfin-app: there is no screen named nowhere\nusage:"));
}

TEST(Appearance, TheSettingWinsAndSystemFollowsTheDesktop) {
  EXPECT_FALSE(AppearanceFollower::drawsDark(Appearance::light, true, true));
  EXPECT_TRUE(AppearanceFollower::drawsDark(Appearance::dark, false, false));
  EXPECT_TRUE(AppearanceFollower::drawsDark(Appearance::system, true, false));
  EXPECT_FALSE(AppearanceFollower::drawsDark(Appearance::system, false, true));
  // The desktop said nothing: the platform's own palette decides.
  EXPECT_TRUE(AppearanceFollower::drawsDark(Appearance::system, std::nullopt, true));
  EXPECT_FALSE(AppearanceFollower::drawsDark(Appearance::system, std::nullopt, false));
}

TEST(TrayIcon, FreeSpaceShortEnoughForATrayIcon) {
  EXPECT_EQ(TrayIcon::compactBytes(79'400'000'000), "79G");
  EXPECT_EQ(TrayIcon::compactBytes(1'240'000'000'000), "1.2T");
  EXPECT_EQ(TrayIcon::compactBytes(9'940'000'000), "9.9G");
  EXPECT_EQ(TrayIcon::compactBytes(9'960'000'000), "10G");
  EXPECT_EQ(TrayIcon::compactBytes(999'600'000), "1.0G");
  EXPECT_EQ(TrayIcon::compactBytes(850'000'000), "850M");
  EXPECT_EQ(TrayIcon::compactBytes(0), "0K");
  EXPECT_EQ(TrayIcon::compactBytes(-5), "0K");
}

}  // namespace
}  // namespace tallyfin::app
