#include "kit/history/notification_policy.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tallyfin {
namespace {

constexpr int64_t GB = 1'000'000'000;
constexpr int64_t GiB = 1'073'741'824;
constexpr double kDay = 86'400;
constexpr double kNow = 1'800'000'000;

using Kind = Notification::Kind;

ScanFacts facts(int64_t total, int64_t free) {
  ScanFacts f;
  f.total = total;
  f.free = free;
  return f;
}

const NotificationPolicy kPolicy{NotificationSettings{}};

TEST(NotificationPolicy, LowSpaceThresholdIsTheLargerOfShareAndFloor) {
  auto [big, state] = kPolicy.decide(facts(1000 * GB, 100 * GB), {}, kNow);
  ASSERT_TRUE(big.has_value());
  EXPECT_EQ(big->kind, Kind::lowSpace);
  EXPECT_EQ(big->title, "Only 100 GB free on your computer");
  EXPECT_EQ(big->body, "Your disk is 90% full.");
  EXPECT_EQ(state.lastSent.at("lowSpace"), kNow);
  EXPECT_EQ(state.lastFree, 100 * GB);

  EXPECT_TRUE(kPolicy.decide(facts(200 * GB, 24 * GiB), {}, kNow).first.has_value());
  EXPECT_FALSE(kPolicy.decide(facts(200 * GB, 26 * GiB), {}, kNow).first.has_value());
}

TEST(NotificationPolicy, LowSpaceMentionsSafeCleanupFromOneGibibyte) {
  auto f = facts(200 * GB, 20 * GB);
  f.reclaimableSafe = GiB;
  EXPECT_EQ(kPolicy.decide(f, {}, kNow).first->body,
            "Your disk is 90% full. You can safely free 1.07 GB right now.");
  f.reclaimableSafe = GiB - 1;
  EXPECT_EQ(kPolicy.decide(f, {}, kNow).first->body, "Your disk is 90% full.");
}

TEST(NotificationPolicy, LowSpaceRepeatsDuringCooldownOnlyAfterAFiveGibibyteDrop) {
  NotificationState sent;
  sent.lastSent["lowSpace"] = kNow - 2 * kDay;
  sent.lastFree = 20 * GiB;
  EXPECT_FALSE(kPolicy.decide(facts(500 * GB, 16 * GiB), sent, kNow).first.has_value());
  const auto again = kPolicy.decide(facts(500 * GB, 14 * GiB), sent, kNow).first;
  ASSERT_TRUE(again.has_value());
  EXPECT_EQ(again->kind, Kind::lowSpace);
  // After the cool-down it is sent whatever the drop.
  sent.lastSent["lowSpace"] = kNow - 7 * kDay;
  EXPECT_TRUE(kPolicy.decide(facts(500 * GB, 19 * GiB), sent, kNow).first.has_value());
}

TEST(NotificationPolicy, LowSpaceWinsOverGrowth) {
  auto f = facts(200 * GB, 20 * GB);
  f.usedDelta = 12 * GiB;
  EXPECT_EQ(kPolicy.decide(f, {}, kNow).first->kind, Kind::lowSpace);
}

TEST(NotificationPolicy, GrowthNeedsAPreviousScanAndNamesTheBiggestChange) {
  auto f = facts(2000 * GB, 1000 * GB);
  EXPECT_FALSE(kPolicy.decide(f, {}, kNow).first.has_value());  // first scan: no delta
  f.usedDelta = 12 * GB;
  f.topGrowth = ScanFacts::Growth{"/home/ann/Movies", 8 * GB};
  const auto [growth, state] = kPolicy.decide(f, {}, kNow);
  ASSERT_TRUE(growth.has_value());
  EXPECT_EQ(growth->title, "Your disk grew 12.0 GB");
  EXPECT_EQ(growth->body,
            "Used space grew by 12.0 GB since the last scan. Biggest change: Movies (+8.00 GB).");
  EXPECT_FALSE(kPolicy.decide(f, state, kNow + kDay).first.has_value());  // cooling down
  f.topGrowth->delta = 0;
  EXPECT_EQ(kPolicy.decide(f, {}, kNow).first->body, "Used space grew by 12.0 GB since the last scan.");
  f.usedDelta = 10 * GiB - 1;
  EXPECT_FALSE(kPolicy.decide(f, {}, kNow).first.has_value());
}

TEST(NotificationPolicy, ReclaimableSpaceSteps) {
  auto f = facts(2000 * GB, 1000 * GB);
  f.reclaimableSafe = 15 * GiB;
  f.topCategory = ScanFacts::Category{"Package manager caches", 9 * GB};
  const auto [first, state] = kPolicy.decide(f, {}, kNow);
  ASSERT_TRUE(first.has_value());
  EXPECT_EQ(first->title, "16.1 GB of safe cleanup available");
  EXPECT_EQ(first->body,
            "Mostly Package manager caches (9.00 GB). Caches and build output that rebuild "
            "themselves.");
  EXPECT_EQ(state.lastReclaimable, 15 * GiB);

  const double later = kNow + 7 * kDay;
  f.reclaimableSafe = 16 * GiB;
  EXPECT_FALSE(kPolicy.decide(f, state, later).first.has_value());
  f.reclaimableSafe = 20 * GiB;
  EXPECT_TRUE(kPolicy.decide(f, state, later).first.has_value());
  EXPECT_FALSE(kPolicy.decide(f, state, kNow + kDay).first.has_value());  // cool-down
  f.topCategory.reset();
  EXPECT_EQ(kPolicy.decide(f, state, later).first->body,
            "Caches and build output that rebuild themselves.");
}

TEST(NotificationPolicy, NothingSentLowersTheRememberedTotalAndNotesFreeSpace) {
  NotificationState state;
  state.lastReclaimable = 30 * GiB;
  auto f = facts(2000 * GB, 1000 * GB);
  f.reclaimableSafe = 2 * GiB;
  const auto [none, after] = kPolicy.decide(f, state, kNow);
  EXPECT_FALSE(none.has_value());
  EXPECT_EQ(after.lastReclaimable, 2 * GiB);
  EXPECT_EQ(after.lastFree, 1000 * GB);
}

TEST(NotificationPolicy, DisabledDecidesNothingAndKeepsTheState) {
  NotificationSettings settings;
  settings.enabled = false;
  NotificationState state;
  state.lastFree = 7;
  const auto [none, after] = NotificationPolicy(settings).decide(facts(100, 1), state, kNow);
  EXPECT_FALSE(none.has_value());
  EXPECT_EQ(after, state);
}

TEST(NotificationPolicy, StateRoundTripsAndAMissingFileIsEmpty) {
  NotificationState state;
  state.lastSent = {{"growth", 12.5}};
  state.lastReclaimable = 3;
  state.lastFree = 4;
  EXPECT_EQ(nlohmann::json(state).get<NotificationState>(), state);
  EXPECT_EQ(nlohmann::json::object().get<NotificationState>(), NotificationState{});
  NotificationSettings settings;
  EXPECT_EQ(nlohmann::json(settings).get<NotificationSettings>(), settings);
}

}  // namespace
}  // namespace tallyfin
