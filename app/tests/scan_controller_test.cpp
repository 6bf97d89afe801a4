#include "app/model/scan_controller.h"

#include <QProcess>
#include <QSignalSpy>

#include <gtest/gtest.h>

#include "app/model/app_model.h"
#include "app/tests/app_home.h"
#include "kit/cleanup/keep_list.h"
#include "kit/history/history_files.h"
#include "kit/pipeline/scan_pipeline.h"

namespace tallyfin::app {
namespace {

using testing::AppHome;
using testing::eventually;
using Kind = ScanController::EventKind;

// The kinds of the events a controller sent, in order.
struct Events {
  explicit Events(ScanController& controller) {
    QObject::connect(&controller, &ScanController::eventSent,
                     [this](const ScanController::Event& event) { sent.push_back(event); });
  }
  size_t count(Kind kind) const {
    return static_cast<size_t>(
        std::count_if(sent.begin(), sent.end(), [kind](const auto& event) { return event.kind == kind; }));
  }
  std::vector<ScanController::Event> sent;
};

TEST(ScanController, AnEmptyStoreLoadsAsNoReport) {
  AppHome home;
  ScanController controller(home.environment());
  Events events(controller);
  EXPECT_FALSE(controller.hasLoaded());
  controller.load();
  ASSERT_TRUE(eventually([&] { return controller.hasLoaded(); }));
  EXPECT_EQ(controller.report(), nullptr);
  EXPECT_TRUE(controller.history().empty());
  EXPECT_FALSE(controller.loadedReportDate().has_value());
  ASSERT_TRUE(controller.disk().has_value());
  EXPECT_GT(controller.disk()->total, 0);
  ASSERT_EQ(events.sent.size(), 1u);
  EXPECT_EQ(events.sent[0].kind, Kind::loaded);
  EXPECT_FALSE(events.sent[0].newReport);
  EXPECT_TRUE(controller.isWatching());
}

TEST(ScanController, PressingScanTwiceStartsOneScanWithProgressOnTheMainThread) {
  AppHome home;
  ScanController controller(home.environment());
  Events events(controller);
  std::vector<ScanProgress::Phase> phases;
  QObject::connect(&controller, &ScanController::progressChanged, [&] {
    if (controller.progress()) phases.push_back(controller.progress()->phase);
  });
  QSignalSpy scanning(&controller, &ScanController::scanningChanged);

  controller.scan();
  controller.scan();
  EXPECT_TRUE(controller.isScanning());
  ASSERT_TRUE(eventually([&] { return !controller.isScanning(); }));

  EXPECT_EQ(scanning.count(), 2);  // true once, false once
  EXPECT_EQ(events.count(Kind::scanned), 1u);
  EXPECT_EQ(HistoryFiles::history(home.store()).size(), 1u);
  ASSERT_NE(controller.report(), nullptr);
  EXPECT_EQ(controller.history().size(), 1u);
  EXPECT_EQ(controller.loadedReportDate(), home.store().modificationDate(Store::File::report));
  EXPECT_FALSE(controller.progress().has_value());
  EXPECT_FALSE(controller.scanError().has_value());
  // The initial state, then the scan's own phases; the last one is never dropped.
  ASSERT_GE(phases.size(), 3u);
  EXPECT_EQ(phases.front(), ScanProgress::Phase::planning);
  EXPECT_EQ(phases.back(), ScanProgress::Phase::done);
  EXPECT_NE(std::find(phases.begin(), phases.end(), ScanProgress::Phase::analyzing), phases.end());

  // Once it finished, the next press scans again.
  controller.scan();
  ASSERT_TRUE(eventually([&] { return !controller.isScanning(); }));
  EXPECT_EQ(events.count(Kind::scanned), 2u);
  EXPECT_EQ(HistoryFiles::history(home.store()).size(), 2u);
}

TEST(ScanController, AScanWhileAnotherProcessHoldsTheLockShowsTheBusyMessage) {
  AppHome home;
  ScanController controller(home.environment());
  QProcess holder;
  // --no-fork: the shell that holds the lock is the process killed below.
  holder.start("flock", {"--no-fork", QString::fromStdString(home.store().url(Store::File::lock)), "-c",
                         "echo held; exec sleep 60"});
  ASSERT_TRUE(holder.waitForReadyRead(10'000));

  controller.scan();
  ASSERT_TRUE(eventually([&] { return !controller.isScanning(); }));
  EXPECT_EQ(controller.scanError(), std::string(kAlreadyScanningMessage));
  EXPECT_EQ(controller.report(), nullptr);
  holder.kill();
  holder.waitForFinished();

  // The next scan clears the message as it starts.
  controller.scan();
  EXPECT_FALSE(controller.scanError().has_value());
  ASSERT_TRUE(eventually([&] { return !controller.isScanning(); }));
  EXPECT_NE(controller.report(), nullptr);
}

TEST(ScanController, ACancelledScanSavesNothingAndIsNoError) {
  AppHome home;
  // A thousand folders: far more than the scan gets through before the cancel.
  for (int i = 0; i < 1000; ++i) {
    tallyfin::testing::makeFolder(home / ("many/" + std::to_string(i % 20) + "/" + std::to_string(i)));
  }
  ScanController controller(home.environment());
  Events events(controller);
  controller.scan();
  controller.cancelScan();
  ASSERT_TRUE(eventually([&] { return !controller.isScanning(); }));
  EXPECT_EQ(events.count(Kind::scanned), 0u);
  EXPECT_EQ(controller.report(), nullptr);
  EXPECT_FALSE(home.store().modificationDate(Store::File::report).has_value());
  EXPECT_FALSE(controller.scanError().has_value());
  EXPECT_FALSE(controller.progress().has_value());
}

TEST(AppModelWithAnotherProcess, AReportWrittenElsewhereShowsAndClearsTheSelection) {
  AppHome home;
  home.scanWithCommandLine();
  AppModel model(home.environment());
  model.scanner().load();
  ASSERT_TRUE(eventually([&] { return model.scanner().report() != nullptr && !model.cleanup().empty(); }));
  const double firstDate = model.scanner().report()->date;
  model.toggle(model.cleanup().front().path);
  ASSERT_EQ(model.selection().size(), 1u);

  // Nothing of the data folder changing without a new report clears anything.
  ASSERT_TRUE(KeepList::set(home.store(), home / "elsewhere", true).ok());
  QTest::qWait(1'500);
  EXPECT_EQ(model.selection().size(), 1u);

  home.scanWithCommandLine();
  ASSERT_TRUE(eventually([&] { return model.scanner().report()->date != firstDate; }));
  EXPECT_TRUE(model.selection().empty());
  EXPECT_EQ(model.scanner().report()->date, loadReport(home.store())->date);
  EXPECT_EQ(model.scanner().history().size(), 2u);
}

}  // namespace
}  // namespace tallyfin::app
