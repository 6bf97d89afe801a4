// The app's update check against a signed feed served from 127.0.0.1, with a key
// of the test's own: what shows, Skip This Version, the download with its checks
// and Cancel, and the preference the command line reads too.

#include "app/model/update_model.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "app/tests/app_home.h"
#include "tests/support/temp_folder.h"
#include "tests/update/release_fixture.h"

namespace tallyfin::app {
namespace {

using Phase = UpdateModel::Phase;
using testing::AppHome;
using testing::eventually;
using Answer = tallyfin::testing::LocalWebServer::Answer;

class Updates : public ::testing::Test {
 protected:
  // The app's model over the served feed and the test's key, comparing with this build's version.
  std::unique_ptr<UpdateModel> model() const {
    return std::make_unique<UpdateModel>(
        preferences, AppEnvironment::UpdateFeed{release.feedUrl(), release.key.publicKey()}, downloads);
  }

  // Newer than this build, whatever this build's version is.
  static std::string nextVersion() { return "999.0.0"; }

  AppHome home;
  const Preferences preferences = home.environment().preferences;
  const std::string downloads = home / ".cache/Tallyfin";
  tallyfin::testing::ReleaseFixture release;
};

TEST_F(Updates, ANewerSignedReleaseShowsItsNotesAndDownloadsVerified) {
  release.publish(release.document(nextVersion()));
  const auto updates = model();
  EXPECT_EQ(updates->phase(), Phase::idle);
  updates->checkNow();
  EXPECT_EQ(updates->phase(), Phase::checking);
  ASSERT_TRUE(eventually([&] { return updates->phase() != Phase::checking; }));
  ASSERT_EQ(updates->phase(), Phase::available) << updates->message();
  ASSERT_TRUE(updates->release().has_value());
  EXPECT_EQ(updates->release()->version, nextVersion());
  EXPECT_EQ(updates->release()->notes, "## What's new\n\n- Scans are faster\n- Updates are signed\n");
  EXPECT_TRUE(preferences.lastUpdateCheck().has_value());

  updates->download();
  ASSERT_TRUE(eventually([&] { return updates->phase() != Phase::downloading; }));
  ASSERT_EQ(updates->phase(), Phase::downloaded) << updates->message();
  EXPECT_EQ(updates->packagePath(), downloads + "/tallyfin_0.2.0_amd64.deb");
  EXPECT_EQ(tallyfin::testing::readText(updates->packagePath()), release.package);
  EXPECT_EQ(updates->received(), static_cast<int64_t>(release.package.size()));
  EXPECT_NE(updates->installCommand().find(updates->packagePath()), std::string::npos);
}

TEST_F(Updates, AFeedSignedByAnotherKeyOrAnAlteredPackageIsRefused) {
  const tallyfin::testing::TestKey stranger;
  release.publish(release.document(nextVersion()).dump(2), stranger);
  const auto updates = model();
  updates->checkNow();
  ASSERT_TRUE(eventually([&] { return updates->phase() != Phase::checking; }));
  EXPECT_EQ(updates->phase(), Phase::failed);
  EXPECT_FALSE(updates->release().has_value());
  EXPECT_FALSE(updates->message().empty());

  // A good feed whose package was swapped on the server: nothing is kept.
  release.publish(release.document(nextVersion()));
  updates->checkNow();
  ASSERT_TRUE(eventually([&] { return updates->phase() == Phase::available; }));
  std::string swapped = release.package;
  swapped[10] = static_cast<char>(swapped[10] ^ 1);
  release.server.serve("/tallyfin_0.2.0_amd64.deb", swapped);
  updates->download();
  ASSERT_TRUE(eventually([&] { return updates->phase() != Phase::downloading; }));
  EXPECT_EQ(updates->phase(), Phase::failed);
  EXPECT_NE(updates->message().find("SHA-256"), std::string::npos) << updates->message();
  EXPECT_FALSE(std::filesystem::exists(downloads + "/tallyfin_0.2.0_amd64.deb"));
}

TEST_F(Updates, ADownloadCanBeCancelled) {
  release.publish(release.document(nextVersion()));
  // The server takes the request for the package and never answers.
  release.server.serve("/tallyfin_0.2.0_amd64.deb", Answer{release.package, 200, Answer::Kind::stall});
  const auto updates = model();
  updates->checkNow();
  ASSERT_TRUE(eventually([&] { return updates->phase() == Phase::available; }));
  updates->download();
  ASSERT_EQ(updates->phase(), Phase::downloading);
  updates->cancelDownload();
  ASSERT_TRUE(eventually([&] { return updates->phase() != Phase::downloading; }));
  EXPECT_EQ(updates->phase(), Phase::failed);
  EXPECT_NE(updates->message().find("cancelled"), std::string::npos) << updates->message();
  EXPECT_FALSE(std::filesystem::exists(downloads + "/tallyfin_0.2.0_amd64.deb"));
}

TEST_F(Updates, ASkippedVersionStaysQuietInTheDailyCheckButNotWhenAskedFor) {
  release.publish(release.document(nextVersion()));
  {
    const auto updates = model();
    updates->checkNow();
    ASSERT_TRUE(eventually([&] { return updates->phase() == Phase::available; }));
    updates->skipThisVersion();
    EXPECT_EQ(updates->phase(), Phase::idle);
    EXPECT_FALSE(updates->release().has_value());
    ASSERT_TRUE(eventually([&] { return preferences.skippedVersion() == nextVersion(); }));
  }
  // The daily check is due again a day later; the skipped version shows nothing.
  ASSERT_TRUE(preferences.setLastUpdateCheck(0).ok());
  const auto updates = model();
  const int asked = release.server.requests();
  updates->checkIfDue();
  ASSERT_TRUE(eventually([&] { return release.server.requests() >= asked + 2; }));
  QTest::qWait(200);
  EXPECT_EQ(updates->phase(), Phase::idle);
  updates->checkNow();
  ASSERT_TRUE(eventually([&] { return updates->phase() != Phase::checking; }));
  EXPECT_EQ(updates->phase(), Phase::available);
}

TEST_F(Updates, TheDailyCheckFollowsItsSwitch) {
  release.publish(release.document(nextVersion()));
  {
    const auto updates = model();
    EXPECT_TRUE(updates->checksAutomatically());
    updates->setChecksAutomatically(false);
    ASSERT_TRUE(eventually([&] { return !preferences.flag(Preferences::Flag::updateCheck); }));
  }
  const auto updates = model();
  EXPECT_FALSE(updates->checksAutomatically());
  updates->checkIfDue();
  QTest::qWait(300);
  EXPECT_EQ(release.server.requests(), 0);
  EXPECT_EQ(updates->phase(), Phase::idle);

  // Turned on, a due check shows a newer release by itself.
  updates->setChecksAutomatically(true);
  ASSERT_TRUE(eventually([&] { return preferences.flag(Preferences::Flag::updateCheck); }));
  updates->checkIfDue();
  ASSERT_TRUE(eventually([&] { return updates->phase() == Phase::available; }));
}

}  // namespace
}  // namespace tallyfin::app
