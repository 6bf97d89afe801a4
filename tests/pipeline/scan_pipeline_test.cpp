#include "kit/pipeline/scan_pipeline.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "kit/history/history_files.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::TempFolder;
constexpr double kNow = 1'800'000'000;

class PipelineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    testing::allocateFile(home / "Library/Caches/com.app/data", 2 << 20);
    testing::allocateFile(home / "Library/Developer/CoreSimulator/Devices/DEV-1/data", 12 << 20);
    for (int i = 0; i < 30; ++i) testing::writeFile(home / ("work/p" + std::to_string(i) + "/f"), 9);
  }

  ScanPipeline pipeline(ToolProbeFunction probe = {}) const {
    ScanConfiguration configuration = ScanConfiguration::wholeDisk(home.path());
    configuration.root = home.path();
    configuration.displayRoot = home.path();
    return ScanPipeline{Store(data / "store"), configuration, NotificationSettings{},
                        std::move(probe), ScanTrigger::scheduled};
  }

  TempFolder home;
  TempFolder data;
};

TEST_F(PipelineTest, SavesTheReportAndHistoryFilesInOrder) {
  const auto first = pipeline().run(CancelToken(), kNow);
  ASSERT_TRUE(first.ok()) << first.error().message;
  EXPECT_FALSE(first->report.changes.has_value());  // nothing to compare with yet
  EXPECT_EQ(first->report.home, home.path());
  EXPECT_GT(first->report.scannedBytes, 0);
  ASSERT_EQ(first->history.size(), 1u);
  EXPECT_EQ(first->history[0].trigger, ScanTrigger::scheduled);
  EXPECT_TRUE(first->notificationState.has_value());

  testing::allocateFile(home / "Library/Caches/com.app/more", 200 << 20);
  const auto second = pipeline().run(CancelToken(), kNow + 60);
  ASSERT_TRUE(second.ok());
  ASSERT_TRUE(second->report.changes.has_value());
  EXPECT_EQ(second->report.changes->since, kNow);
  EXPECT_EQ(second->history.size(), 2u);
  EXPECT_EQ(second->folderSamples.size(), 2u);
  EXPECT_EQ(HistoryFiles::history(Store(data / "store")).size(), 2u);
  // The notification state is the front end's to save once it has shown something.
  EXPECT_FALSE(std::filesystem::exists(data / "store/notification-state.json"));
}

TEST_F(PipelineTest, ACancelledScanSavesNothing) {
  ASSERT_TRUE(pipeline().run(CancelToken(), kNow).ok());
  const auto stamp = [&] {
    std::vector<std::pair<std::string, std::filesystem::file_time_type>> files;
    for (const auto& entry : std::filesystem::directory_iterator(data / "store")) {
      files.emplace_back(entry.path(), entry.last_write_time());
    }
    return files;
  };
  const auto before = stamp();
  CancelToken cancel;
  const auto result = pipeline().run(cancel, kNow + 60, [&](const ScanProgress& progress) {
    if (progress.phase == ScanProgress::Phase::scanning) cancel.cancel();
  });
  ASSERT_FALSE(result.ok());
  EXPECT_EQ(result.error().reason, PipelineError::Reason::cancelled);
  EXPECT_EQ(stamp(), before);
}

TEST_F(PipelineTest, AProbeThatNeverAnswersIsLeftBehind) {
  auto slow = pipeline([] {
    std::this_thread::sleep_for(std::chrono::seconds(3));
    return ToolSnapshot{{{"DEV-1", "iPhone", "rt", true, std::nullopt}}, {}, {}, std::nullopt};
  });
  slow.probeTimeoutSeconds = 0.2;
  const auto started = std::chrono::steady_clock::now();
  const auto result = slow.run(CancelToken(), kNow);
  ASSERT_TRUE(result.ok());
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(3));
  EXPECT_EQ(result->warnings, std::vector<std::string>{std::string(kToolsTooSlowMessage)});
  for (const auto& item : result->report.items) EXPECT_NE(item.category, CleanupCategory::simulators);
}

TEST_F(PipelineTest, ProbeAnswersJoinTheSuggestions) {
  const auto result = pipeline([] {
                        return ToolSnapshot{{{"DEV-1", "iPhone", "rt", true, 1'700'000'000}}, {}, {}, std::nullopt};
                      }).run(CancelToken(), kNow);
  ASSERT_TRUE(result.ok());
  EXPECT_TRUE(result->warnings.empty());
  const auto device = std::find_if(result->report.items.begin(), result->report.items.end(),
                                   [](const CleanupItem& item) {
                                     return item.category == CleanupCategory::simulators;
                                   });
  ASSERT_NE(device, result->report.items.end());
  EXPECT_EQ(device->path, home / "Library/Developer/CoreSimulator/Devices/DEV-1");
  EXPECT_EQ(device->lastUsed, 1'700'000'000);
}

TEST_F(PipelineTest, TwoPipelinesAtOnceRunOneAtATime) {
  std::atomic<bool> inside{false};
  std::optional<Expected<PipelineResult, PipelineError>> second;
  const auto first = pipeline().run(CancelToken(), kNow, [&](const ScanProgress& progress) {
    if (progress.phase != ScanProgress::Phase::scanning || inside.exchange(true)) return;
    second = pipeline().run(CancelToken(), kNow);
  });
  ASSERT_TRUE(first.ok());
  ASSERT_TRUE(second.has_value());
  ASSERT_FALSE(second->ok());
  EXPECT_EQ(second->error().reason, PipelineError::Reason::alreadyScanning);
  EXPECT_EQ(second->error().message, kAlreadyScanningMessage);
}

}  // namespace
}  // namespace tallyfin
