// tallyfin update end to end: the real binary as a child process against a real
// server on 127.0.0.1, with its home, settings and cache in the test's folder, and
// the release script run as it is run for a release.

#include <gtest/gtest.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "kit/update/release_signature.h"
#include "kit/update/update_checker.h"
#include "tests/support/process.h"
#include "tests/support/temp_folder.h"
#include "tests/update/release_fixture.h"

namespace tallyfin {
namespace {

using testing::TempFolder;

class UpdateCommand : public ::testing::Test {
 protected:
  testing::ProcessResult tallyfin(std::vector<std::string> arguments,
                                  bool withTestKey = true) const {
    std::vector<std::string> environment = {
        "HOME=" + home.path(), "XDG_CONFIG_HOME=" + (home / ".config"),
        "XDG_CACHE_HOME=" + (home / ".cache"), "PATH=/usr/bin:/bin"};
    if (withTestKey) {
      environment.push_back(std::string(UpdateSettings::kTestKeyVariable) + "=" +
                            release.key.publicHex());
    }
    return testing::runProcess(TALLYFIN_BINARY, std::move(arguments), environment);
  }

  std::vector<std::string> check(std::vector<std::string> more = {}) const {
    std::vector<std::string> arguments = {"update", "--check", "--feed", release.feedUrl()};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return arguments;
  }

  TempFolder home;
  testing::ReleaseFixture release;
};

TEST_F(UpdateCommand, ExitCodesSayNewerUpToDateOrFailed) {
  release.publish(release.document("0.2.0"));
  auto run = tallyfin(check());
  EXPECT_EQ(run.exitCode, 10) << run.err;
  EXPECT_EQ(run.err, "");
  EXPECT_EQ(
      run.out.rfind(
          "Tallyfin 0.2.0 is available (this is 0.1.0). Released 2026-06-01.\n\n## What's new\n",
          0),
      0u)
      << run.out;
  EXPECT_NE(
      run.out.find(
          "- Updates are signed\n\nDownload and verify it with: tallyfin update --download --feed"),
      std::string::npos)
      << run.out;

  release.publish(release.document("0.1.0"));
  run = tallyfin(check());
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "Tallyfin 0.1.0 is up to date.\n");

  const testing::TestKey stranger;
  release.publish(release.document("0.2.0").dump(), stranger);
  run = tallyfin(check());
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(
      run.err,
      "tallyfin: The release feed at " + release.feedUrl() +
          " is not signed with Tallyfin's release key — it was changed or cut short on the way, so "
          "nothing was offered.\n");
}

TEST_F(UpdateCommand, OnlyTheBuiltInKeyCountsWithoutTheTestVariable) {
  release.publish(release.document("0.2.0"));
  const auto run = tallyfin(check(), false);
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_NE(run.err.find("is not signed with Tallyfin's release key"), std::string::npos)
      << run.err;
}

TEST_F(UpdateCommand, JsonCarriesTheReleaseInSnakeCase) {
  release.publish(release.document("0.2.0"));
  const auto run = tallyfin(check({"--json"}));
  ASSERT_EQ(run.exitCode, 10) << run.err;
  const auto answer = nlohmann::json::parse(run.out);
  EXPECT_EQ(answer["status"], "update_available");
  EXPECT_EQ(answer["current_version"], "0.1.0");
  EXPECT_EQ(answer["latest_version"], "0.2.0");
  EXPECT_EQ(answer["release"]["package_size"], release.package.size());
  EXPECT_EQ(answer["release"]["package_url"], release.server.url("/tallyfin_0.2.0_amd64.deb"));
  for (const char* key : {"version", "date", "notes", "package_sha256"})
    EXPECT_TRUE(answer["release"].contains(key));
}

TEST_F(UpdateCommand, TheDailyRuleHoldsAcrossProcesses) {
  release.publish(release.document("0.2.0"));
  auto run = tallyfin(check({"--if-due"}));
  EXPECT_EQ(run.exitCode, 10) << run.err;
  EXPECT_EQ(release.server.requests(), 2);
  const auto stored =
      nlohmann::json::parse(testing::readText(home / ".config/Tallyfin/preferences.json"));
  EXPECT_TRUE(stored.contains("updates.lastCheck"));

  run = tallyfin(check({"--if-due", "--json"}));
  EXPECT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(nlohmann::json::parse(run.out)["status"], "not_due");
  EXPECT_EQ(release.server.requests(), 2);  // the second process asked nobody

  run = tallyfin(check());  // asked by hand: always goes out
  EXPECT_EQ(run.exitCode, 10);
  EXPECT_EQ(release.server.requests(), 4);
}

TEST_F(UpdateCommand, DownloadKeepsTheVerifiedPackageAndPrintsHowToInstallIt) {
  release.publish(release.document("0.2.0"));
  const std::string kept = home / ".cache/Tallyfin/tallyfin_0.2.0_amd64.deb";
  auto run = tallyfin({"update", "--download", "--feed", release.feedUrl()});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  EXPECT_EQ(run.out, "Tallyfin 0.2.0 is downloaded and verified (10.2 KB, SHA-256 as signed):\n" +
                         kept + "\nInstall it with:\n  pkexec apt-get install " + kept + "\n");
  EXPECT_EQ(testing::readText(kept), release.package);

  run = tallyfin({"update", "--download", "--json", "--feed", release.feedUrl()});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const auto answer = nlohmann::json::parse(run.out);
  EXPECT_EQ(answer["path"], kept);
  EXPECT_EQ(answer["already_downloaded"], true);
  EXPECT_EQ(answer["install_command"], "pkexec apt-get install " + kept);
}

TEST_F(UpdateCommand, ADownloadThatFailsLeavesNothingBehind) {
  release.publish(release.document("0.2.0"));
  release.server.serve("/tallyfin_0.2.0_amd64.deb", std::string(release.package.size(), 'x'));
  const auto run = tallyfin({"update", "--download", "--feed", release.feedUrl()});
  EXPECT_EQ(run.exitCode, 1);
  EXPECT_EQ(run.out, "");
  EXPECT_NE(run.err.find("does not match the SHA-256 of the signed release"), std::string::npos)
      << run.err;
  EXPECT_FALSE(std::filesystem::exists(home / ".cache/Tallyfin/tallyfin_0.2.0_amd64.deb"));

  release.publish(release.document("0.1.0"));
  const auto upToDate = tallyfin({"update", "--download", "--feed", release.feedUrl()});
  EXPECT_EQ(upToDate.exitCode, 0);
  EXPECT_EQ(upToDate.out, "Tallyfin 0.1.0 is up to date. Nothing to download.\n");
}

TEST_F(UpdateCommand, HelpAndBadArguments) {
  const auto help = tallyfin({"update", "--help"});
  EXPECT_EQ(help.exitCode, 0);
  EXPECT_EQ(help.out.rfind("tallyfin update — ", 0), 0u) << help.out;
  EXPECT_NE(help.out.find("10 a newer release is available"), std::string::npos);
  for (const std::vector<std::string>& bad :
       std::vector<std::vector<std::string>>{{"update", "--check", "--download"},
                                             {"update", "--download", "--if-due"},
                                             {"update", "--feed"},
                                             {"--check"},
                                             {"update", "--root", "/tmp/x"},
                                             {"update", "--store", "/tmp/x"}}) {
    const auto run = tallyfin(bad);
    EXPECT_EQ(run.exitCode, 64) << bad.back();
    EXPECT_EQ(run.out, "");
  }
  EXPECT_EQ(release.server.requests(), 0);
}

TEST(SignRelease, WritesTheRawSignatureOfTheExactBytes) {
  const TempFolder folder;
  const testing::TestKey key;
  testing::writeText(folder / "release.pem", key.privatePem());
  const std::string feed = "{\"version\": \"0.2.0\"}\n";
  testing::writeText(folder / "feed.json", feed);
  const auto run = testing::runProcess(
      "/bin/sh", {TALLYFIN_SIGN_RELEASE, folder / "feed.json", folder / "release.pem"},
      {"PATH=/usr/bin:/bin"});
  ASSERT_EQ(run.exitCode, 0) << run.err;
  const std::string signature = testing::readText(folder / "feed.json.sig");
  EXPECT_EQ(signature.size(), 64u);
  EXPECT_TRUE(signatureHolds(feed, signature, key.publicKey()));
  EXPECT_NE(run.out.find("Public key: " + key.publicHex()), std::string::npos) << run.out;

  // Not an Ed25519 key: refused, and the old signature stays.
  const auto ec = testing::runProcess("/usr/bin/openssl",
                                      {"genpkey", "-algorithm", "EC", "-pkeyopt",
                                       "ec_paramgen_curve:P-256", "-out", folder / "ec.pem"},
                                      {"PATH=/usr/bin:/bin"});
  ASSERT_EQ(ec.exitCode, 0) << ec.err;
  const auto refused = testing::runProcess(
      "/bin/sh", {TALLYFIN_SIGN_RELEASE, folder / "feed.json", folder / "ec.pem"},
      {"PATH=/usr/bin:/bin"});
  EXPECT_EQ(refused.exitCode, 1);
  EXPECT_NE(refused.err.find("is not an Ed25519 private key"), std::string::npos) << refused.err;
  EXPECT_EQ(testing::readText(folder / "feed.json.sig"), signature);

  EXPECT_EQ(
      testing::runProcess("/bin/sh", {TALLYFIN_SIGN_RELEASE}, {"PATH=/usr/bin:/bin"}).exitCode, 64);
}

}  // namespace
}  // namespace tallyfin
