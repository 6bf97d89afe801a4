#include "app/model/progress_throttle.h"

#include <gtest/gtest.h>

#include <thread>
#include <vector>

namespace tallyfin::app {
namespace {

using Phase = ScanProgress::Phase;

struct Forwarded {
  std::vector<ScanProgress> reports;
  double now = 1000;

  ProgressThrottle throttle() {
    return ProgressThrottle([this](const ScanProgress& p) { reports.push_back(p); }, [this] { return now; });
  }
  std::vector<Phase> phases() const {
    std::vector<Phase> all;
    for (const auto& report : reports) all.push_back(report.phase);
    return all;
  }
};

TEST(ProgressThrottle, ABurstOfScanningReportsGivesOneUpdateAndPhaseChangesAlwaysPass) {
  Forwarded forwarded;
  auto throttle = forwarded.throttle();
  throttle({Phase::planning, 0, 0, "/home/ann", 0, 0});
  for (int i = 1; i <= 500; ++i) {
    forwarded.now += 0.0001;  // 500 reports within 50 ms
    throttle({Phase::scanning, i, 500, "/home/ann/x", i, i * 10});
  }
  forwarded.now += 0.001;
  throttle({Phase::analyzing, 0, 0, {}, 0, 0});
  throttle({Phase::done, 0, 0, {}, 0, 0});
  EXPECT_EQ(forwarded.phases(), (std::vector<Phase>{Phase::planning, Phase::analyzing, Phase::done}));
}

TEST(ProgressThrottle, ScanningPassesOnceMoreThanATenthOfASecondWentBy) {
  Forwarded forwarded;
  auto throttle = forwarded.throttle();
  forwarded.now = 0;
  throttle({Phase::scanning, 1, 9, "a", 0, 0});  // the first report always passes
  forwarded.now = 0.1;                           // exactly 0.1 s later: still too soon
  throttle({Phase::scanning, 2, 9, "b", 0, 0});
  forwarded.now = 0.25;
  throttle({Phase::scanning, 3, 9, "c", 0, 0});
  forwarded.now = 0.3;
  throttle({Phase::scanning, 4, 9, "d", 0, 0});
  // A phase change restarts the interval: the scanning report right after it waits.
  forwarded.now = 0.5;
  throttle({Phase::analyzing, 0, 0, {}, 0, 0});
  throttle({Phase::scanning, 5, 9, "e", 0, 0});
  ASSERT_EQ(forwarded.reports.size(), 3u);
  EXPECT_EQ(forwarded.reports[0].current, "a");
  EXPECT_EQ(forwarded.reports[1].current, "c");
  EXPECT_EQ(forwarded.reports[2].phase, Phase::analyzing);
}

TEST(ProgressThrottle, ReportsFromManyThreadsAtOnceStillGiveOneUpdate) {
  std::vector<ScanProgress> reports;  // written under the throttle's lock
  ProgressThrottle throttle([&](const ScanProgress& p) { reports.push_back(p); }, [] { return 5.0; });
  std::vector<std::thread> workers;
  for (int w = 0; w < 8; ++w) {
    workers.emplace_back([&throttle, w] {
      for (int i = 0; i < 1000; ++i) throttle({Phase::scanning, i, 1000, std::to_string(w), 0, 0});
    });
  }
  for (auto& worker : workers) worker.join();
  throttle({Phase::done, 0, 0, {}, 0, 0});
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[0].phase, Phase::scanning);
  EXPECT_EQ(reports[1].phase, Phase::done);
}

}  // namespace
}  // namespace tallyfin::app
