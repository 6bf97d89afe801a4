// The whole check against a real server on 127.0.0.1 serving good and bad feeds,
// with the preferences in the test's own folder.

#include "kit/update/update_checker.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/support/temp_folder.h"
#include "tests/update/release_fixture.h"

namespace tallyfin {
namespace {

using Answer = testing::LocalWebServer::Answer;
using Outcome = UpdateCheck::Outcome;
using testing::TempFolder;

constexpr double kNow = 1'800'000'000;
constexpr double kDay = UpdateChecker::kInterval;

class UpdateCheckerTest : public ::testing::Test {
 protected:
  UpdateChecker checker(const std::string& currentVersion = "0.1.0") const {
    return UpdateChecker(release.settings(currentVersion), preferences);
  }

  // The check fails with a sentence holding `words`, and the preferences stay as they were.
  void expectRefused(const std::string& words) const {
    const std::string before = testing::readText(preferences.file());
    const auto check = checker().checkNow(kNow);
    ASSERT_FALSE(check.ok()) << words;
    EXPECT_NE(check.error().message.find(words), std::string::npos) << check.error().message;
    EXPECT_EQ(check.error().message.find('\n'), std::string::npos);
    EXPECT_EQ(testing::readText(preferences.file()), before);
    EXPECT_FALSE(preferences.lastUpdateCheck().has_value());
  }

  TempFolder folder;
  const Preferences preferences{folder / "config/Tallyfin/preferences.json"};
  testing::ReleaseFixture release;
};

TEST_F(UpdateCheckerTest, ANewerSignedReleaseIsOfferedWithItsNotes) {
  release.publish(release.document("0.2.0"));
  const auto check = checker().checkNow(kNow);
  ASSERT_TRUE(check.ok()) << check.error().message;
  EXPECT_EQ(check->outcome, Outcome::available);
  EXPECT_EQ(check->message, "Tallyfin 0.2.0 is available (this is 0.1.0).");
  ASSERT_TRUE(check->release.has_value());
  EXPECT_EQ(check->release->notes, "## What's new\n\n- Scans are faster\n- Updates are signed\n");
  EXPECT_EQ(check->release->packageSize, static_cast<int64_t>(release.package.size()));
  EXPECT_EQ(preferences.lastUpdateCheck(), kNow);
  EXPECT_EQ(release.server.requests(), 2);  // the feed and its signature, nothing else
}

TEST_F(UpdateCheckerTest, TheSameOrAnOlderVersionIsNotOffered) {
  release.publish(release.document("0.1.0+rebuilt"));
  auto check = checker().checkNow(kNow);
  ASSERT_TRUE(check.ok()) << check.error().message;
  EXPECT_EQ(check->outcome, Outcome::upToDate);
  EXPECT_EQ(check->message, "Tallyfin 0.1.0 is up to date.");

  for (const char* older : {"0.0.9", "0.1.0-rc.1"}) {
    release.publish(release.document(older));
    check = checker().checkNow(kNow);
    ASSERT_TRUE(check.ok()) << check.error().message;
    EXPECT_EQ(check->outcome, Outcome::upToDate) << older;
    EXPECT_EQ(check->message, std::string("The release feed offers ") + older +
                                  ", older than this Tallyfin 0.1.0 — no downgrade is offered.");
  }
  // A pre-release of this version's successor is newer.
  release.publish(release.document("0.1.1-beta.1"));
  EXPECT_EQ(checker().checkNow(kNow)->outcome, Outcome::available);
  EXPECT_EQ(checker("0.1.1").checkNow(kNow)->outcome, Outcome::upToDate);
}

TEST_F(UpdateCheckerTest, AFlippedByteIsRefused) {
  const std::string feed = release.document("0.2.0").dump(2);
  release.publish(feed);
  std::string flipped = feed;
  flipped[feed.find("0.2.0")] = '9';  // "9.2.0", the signature left as it was
  release.server.serve("/feed.json", flipped);
  expectRefused("is not signed with Tallyfin's release key");
}

TEST_F(UpdateCheckerTest, ASignatureFromAnotherKeyIsRefused) {
  const testing::TestKey stranger;
  release.publish(release.document("0.2.0").dump(), stranger);
  expectRefused("is not signed with Tallyfin's release key");
}

TEST_F(UpdateCheckerTest, TruncatedFeedsAreRefused) {
  const std::string feed = release.document("0.2.0").dump();
  release.publish(feed);
  // Served whole but shorter than what was signed.
  release.server.serve("/feed.json", feed.substr(0, feed.size() - 20));
  expectRefused("cut short on the way");
  // Announced whole, then the connection ends halfway.
  release.server.serve("/feed.json", Answer{feed, 200, Answer::Kind::cutShort});
  expectRefused("arrived incomplete");
  // A signature cut short.
  release.publish(feed);
  release.server.serve("/feed.json.sig", release.key.sign(feed).substr(0, 40));
  expectRefused("is 40 bytes instead of 64");
}

TEST_F(UpdateCheckerTest, OversizedFeedsAreRefusedUnread) {
  nlohmann::json document = release.document("0.2.0");
  document["notes"] = std::string(ReleaseFeed::kLargestFeed, '#');
  const std::string feed = document.dump();
  release.publish(feed);
  expectRefused("is larger than 256 KB — it was not kept.");
  release.server.serve("/feed.json", Answer{feed, 200, Answer::Kind::noLength});
  expectRefused("is larger than 256 KB");
  release.publish(release.document("0.2.0"));
  release.server.serve("/feed.json.sig", std::string(2'000, 's'));
  expectRefused("The release signature at " + release.feedUrl() + ".sig is larger than 1.00 KB");
}

TEST_F(UpdateCheckerTest, NoNetworkAndMissingFilesAreOneSentenceEach) {
  expectRefused("answered HTTP 404 for the release feed");
  release.server.serve("/feed.json", release.document("0.2.0").dump());
  expectRefused("answered HTTP 404 for the release signature");
  UpdateSettings settings = release.settings();
  settings.feedUrl = "http://127.0.0.1:1/feed.json";
  const auto check = UpdateChecker(settings, preferences).checkNow(kNow);
  ASSERT_FALSE(check.ok());
  EXPECT_EQ(check.error().message,
            "Could not reach http://127.0.0.1:1/feed.json for the release feed — check the network "
            "connection and "
            "try again.");
  settings.feedUrl = "";
  EXPECT_FALSE(UpdateChecker(settings, preferences).checkNow(kNow).ok());
  settings.feedUrl = "http://updates.example.test/feed.json";
  const auto plain = UpdateChecker(settings, preferences).checkNow(kNow);
  ASSERT_FALSE(plain.ok());
  EXPECT_NE(plain.error().message.find("uses plain http"), std::string::npos);
  EXPECT_FALSE(preferences.lastUpdateCheck().has_value());
}

TEST_F(UpdateCheckerTest, TheAutomaticCheckRunsAtMostOnceADay) {
  release.publish(release.document("0.2.0"));
  const auto first = checker().checkIfDue(kNow);
  ASSERT_TRUE(first.ok()) << first.error().message;
  EXPECT_EQ(first->outcome, Outcome::available);
  EXPECT_EQ(release.server.requests(), 2);

  // A later start of the program reads the same preferences file.
  const auto soon = UpdateChecker(release.settings(), Preferences(preferences.file()))
                        .checkIfDue(kNow + kDay - 1);
  ASSERT_TRUE(soon.ok());
  EXPECT_EQ(soon->outcome, Outcome::notDue);
  EXPECT_EQ(soon->message,
            "Tallyfin checked for updates less than a day ago; the next check is due at "
            "2027-01-16T08:00:00Z.");
  EXPECT_EQ(release.server.requests(), 2);

  // The user's own check is never held back, and it moves the last check on.
  EXPECT_EQ(checker().checkNow(kNow + 60)->outcome, Outcome::available);
  EXPECT_EQ(release.server.requests(), 4);
  EXPECT_EQ(checker().checkIfDue(kNow + kDay + 30)->outcome, Outcome::notDue);
  EXPECT_EQ(checker().checkIfDue(kNow + kDay + 60)->outcome, Outcome::available);
  EXPECT_EQ(release.server.requests(), 6);
}

TEST_F(UpdateCheckerTest, AFailedCheckLeavesTheNextOneDue) {
  const auto failed = checker().checkIfDue(kNow);  // nothing served yet
  ASSERT_FALSE(failed.ok());
  release.publish(release.document("0.2.0"));
  EXPECT_EQ(checker().checkIfDue(kNow + 1)->outcome, Outcome::available);
}

TEST_F(UpdateCheckerTest, ALastCheckInTheFutureDoesNotStopChecks) {
  release.publish(release.document("0.2.0"));
  ASSERT_TRUE(preferences.setLastUpdateCheck(kNow + 30 * kDay).ok());  // the clock was wrong then
  EXPECT_EQ(checker().checkIfDue(kNow)->outcome, Outcome::available);
  EXPECT_EQ(preferences.lastUpdateCheck(), kNow);
}

TEST_F(UpdateCheckerTest, TurnedOffMeansTheAutomaticCheckNeverGoesOut) {
  release.publish(release.document("0.2.0"));
  EXPECT_TRUE(preferences.flag(Preferences::Flag::updateCheck));  // on unless turned off
  ASSERT_TRUE(preferences.setFlag(Preferences::Flag::updateCheck, false).ok());
  const auto check = checker().checkIfDue(kNow);
  ASSERT_TRUE(check.ok());
  EXPECT_EQ(check->outcome, Outcome::turnedOff);
  EXPECT_EQ(release.server.requests(), 0);
  EXPECT_FALSE(preferences.lastUpdateCheck().has_value());
  EXPECT_EQ(checker().checkNow(kNow)->outcome, Outcome::available);  // asking by hand still works
}

TEST_F(UpdateCheckerTest, ASkippedVersionIsNotOfferedByItselfButANewerOneIs) {
  release.publish(release.document("0.2.0"));
  ASSERT_TRUE(preferences.setSkippedVersion("0.2.0").ok());
  EXPECT_EQ(preferences.skippedVersion(), "0.2.0");
  const auto check = checker().checkIfDue(kNow);
  ASSERT_TRUE(check.ok());
  EXPECT_EQ(check->outcome, Outcome::skipped);
  EXPECT_EQ(checker().checkNow(kNow)->outcome, Outcome::available);

  release.publish(release.document("0.2.1"));
  EXPECT_EQ(checker().checkIfDue(kNow + kDay)->outcome, Outcome::available);
  ASSERT_TRUE(preferences.setSkippedVersion("").ok());
  EXPECT_EQ(preferences.skippedVersion(), "");
}

TEST_F(UpdateCheckerTest, AnUnwritablePreferencesFileDoesNotHideANewRelease) {
  release.publish(release.document("0.2.0"));
  testing::makeFolder(preferences.file());  // a folder where the file should be
  const auto check = checker().checkNow(kNow);
  ASSERT_TRUE(check.ok()) << check.error().message;
  EXPECT_EQ(check->outcome, Outcome::available);
  ASSERT_TRUE(check->warning.has_value());
  EXPECT_NE(check->warning->find("the next check may come sooner than a day"), std::string::npos);
}

// The stand-in key from the environment: only for a feed and package on this computer.
class TestKeyVariable : public ::testing::Test {
 protected:
  void TearDown() override { ::unsetenv(UpdateSettings::kTestKeyVariable); }
};

TEST_F(TestKeyVariable, ReplacesTheReleaseKeyForLocalFeedsOnly) {
  EXPECT_EQ(UpdateSettings::forThisBuild()->publicKey, kReleasePublicKey);
  EXPECT_FALSE(UpdateSettings::forThisBuild()->localOnly);

  const testing::TestKey key;
  ::setenv(UpdateSettings::kTestKeyVariable, key.publicHex().c_str(), 1);
  auto settings = UpdateSettings::forThisBuild();
  ASSERT_TRUE(settings.ok());
  EXPECT_EQ(settings->publicKey, key.publicKey());
  EXPECT_TRUE(settings->localOnly);

  TempFolder folder;
  const Preferences preferences(folder / "preferences.json");
  settings->feedUrl = "https://example.test/feed.json";
  const auto remote = UpdateChecker(*settings, preferences).checkNow(kNow);
  ASSERT_FALSE(remote.ok());
  EXPECT_NE(remote.error().message.find("is trusted only for a feed on this computer"),
            std::string::npos);

  // A local feed signed with that key that names a package elsewhere is refused too.
  testing::ReleaseFixture release;
  nlohmann::json document = release.document("0.2.0");
  document["package_url"] = "https://example.test/tallyfin_0.2.0_amd64.deb";
  release.publish(document.dump(), key);
  settings->feedUrl = release.feedUrl();
  const auto elsewhere = UpdateChecker(*settings, preferences).checkNow(kNow);
  ASSERT_FALSE(elsewhere.ok());
  EXPECT_NE(elsewhere.error().message.find("is trusted only for packages on this computer"),
            std::string::npos);

  for (const char* bad : {"", "xyz", "00"}) {
    ::setenv(UpdateSettings::kTestKeyVariable, bad, 1);
    EXPECT_FALSE(UpdateSettings::forThisBuild().ok()) << bad;
  }
}

}  // namespace
}  // namespace tallyfin
