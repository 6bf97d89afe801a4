// "Show in Folder" asks the desktop's file manager over D-Bus; this runs a stand-in
// file manager on a private session bus of its own.

#include "app/views/file_manager.h"

#include <QDBusConnection>
#include <QObject>

#include <gtest/gtest.h>

#include <cstdlib>

#include "app/tests/app_home.h"
#include "kit/platform/processes.h"
#include "tests/support/process.h"

namespace tallyfin::app {
namespace {

constexpr const char* kRunSession = "/usr/bin/dbus-run-session";
constexpr const char* kInsideSession = "TALLYFIN_PRIVATE_BUS";

}  // namespace

// Records what it was asked to show, as a file manager would select it.
class StandInFileManager : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.FileManager1")

 public:
  QStringList shown;

 public slots:
  void ShowItems(const QStringList& uris, const QString&) { shown += uris; }
};

namespace {

TEST(ShowInFolder, TheFileManagerIsAskedToSelectTheItem) {
  if (!std::getenv(kInsideSession)) {
    testing::AppHome home;
    auto environment = home.childEnvironment();
    environment.push_back(std::string(kInsideSession) + "=1");
    environment.push_back("QT_QPA_PLATFORM=offscreen");
    const auto inside = tallyfin::testing::runProcess(
        kRunSession, {"--", platform::thisExecutable(), "--gtest_filter=ShowInFolder.*"}, environment);
    EXPECT_EQ(inside.exitCode, 0) << inside.out << inside.err;
    EXPECT_NE(inside.out.find("[  PASSED  ] 1 test"), std::string::npos) << inside.out;
    return;
  }
  QDBusConnection bus = QDBusConnection::sessionBus();
  ASSERT_TRUE(bus.isConnected());
  StandInFileManager manager;
  ASSERT_TRUE(bus.registerObject("/org/freedesktop/FileManager1", &manager, QDBusConnection::ExportAllSlots));
  ASSERT_TRUE(bus.registerService("org.freedesktop.FileManager1"));
  const std::string path = "/tmp/some folder/holiday video.mkv";
  showInFolder(path);
  ASSERT_TRUE(testing::eventually([&] { return !manager.shown.isEmpty(); }));
  ASSERT_EQ(manager.shown.size(), 1);
  EXPECT_EQ(manager.shown.front().toStdString(), "file:///tmp/some%20folder/holiday%20video.mkv");
}

}  // namespace
}  // namespace tallyfin::app

#include "file_manager_test.moc"
