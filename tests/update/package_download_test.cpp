// The package of a verified release: downloaded from a real server on 127.0.0.1,
// kept only when it is the signed one, and handed to an installer that is a
// script of the test's own.

#include "kit/update/package_download.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include "kit/update/installer_handoff.h"
#include "kit/update/update_checker.h"
#include "tests/support/file_content.h"
#include "tests/support/temp_folder.h"
#include "tests/update/release_fixture.h"

namespace tallyfin {
namespace {

using testing::TempFolder;

class PackageDownloadTest : public ::testing::Test {
 protected:
  // The verified release of a feed for 0.2.0, with `change` made before signing.
  ReleaseFeed signedRelease(const std::function<void(nlohmann::json&)>& change = {}) {
    nlohmann::json document = release.document("0.2.0");
    if (change) change(document);
    const std::string bytes = document.dump();
    return ReleaseFeed::open(bytes, release.key.sign(bytes), release.key.publicKey(), "test")
        .value();
  }

  std::string cache() const { return folder / "cache/Tallyfin"; }

  bool cacheIsEmpty() const {
    return !std::filesystem::exists(cache()) || std::filesystem::is_empty(cache());
  }

  TempFolder folder;
  testing::ReleaseFixture release;
};

TEST_F(PackageDownloadTest, TheSignedPackageIsKeptInTheCacheFolder) {
  const auto package = DownloadedPackage::fetch(signedRelease(), cache(), 5);
  ASSERT_TRUE(package.ok()) << package.error().message;
  EXPECT_EQ(package->path(), cache() + "/tallyfin_0.2.0_amd64.deb");
  EXPECT_EQ(testing::readText(package->path()), release.package);
  EXPECT_EQ(package->version(), "0.2.0");
  EXPECT_FALSE(package->reused());
  struct stat info;
  ASSERT_EQ(::stat(package->path().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0600u);  // never executable
  ASSERT_EQ(::stat(cache().c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 07777, 0700u);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(cache()), {}), 1);  // no leftovers

  // Asked again, the verified file is kept as it is and nothing is fetched.
  const int before = release.server.requests();
  const auto again = DownloadedPackage::fetch(signedRelease(), cache(), 5);
  ASSERT_TRUE(again.ok());
  EXPECT_TRUE(again->reused());
  EXPECT_EQ(release.server.requests(), before);
}

TEST_F(PackageDownloadTest, APackageWhoseHashDiffersIsNotKept) {
  std::string tampered = release.package;
  tampered[100] = static_cast<char>(tampered[100] ^ 0x20);
  release.server.serve("/tallyfin_0.2.0_amd64.deb", tampered);  // same size, other bytes
  const auto package = DownloadedPackage::fetch(signedRelease(), cache(), 5);
  ASSERT_FALSE(package.ok());
  EXPECT_EQ(
      package.error().message,
      "The package at " + release.server.url("/tallyfin_0.2.0_amd64.deb") +
          " does not match the SHA-256 of the signed release — it was not kept; try again later.");
  EXPECT_TRUE(cacheIsEmpty());
}

TEST_F(PackageDownloadTest, APackageOfAnotherSizeIsNotKept) {
  release.server.serve("/tallyfin_0.2.0_amd64.deb", release.package.substr(0, 5'000));
  auto package = DownloadedPackage::fetch(signedRelease(), cache(), 5);
  ASSERT_FALSE(package.ok());
  EXPECT_NE(
      package.error().message.find("is 5000 bytes, not the 10240 bytes the signed release names"),
      std::string::npos)
      << package.error().message;

  release.server.serve("/tallyfin_0.2.0_amd64.deb", release.package + "more");
  package = DownloadedPackage::fetch(signedRelease(), cache(), 5);
  ASSERT_FALSE(package.ok());
  EXPECT_NE(package.error().message.find("is larger than the 10240 bytes the signed release names"),
            std::string::npos)
      << package.error().message;
  EXPECT_TRUE(cacheIsEmpty());
}

TEST_F(PackageDownloadTest, AWrongFileAlreadyInTheCacheIsReplacedByTheSignedOne) {
  testing::writeText(cache() + "/tallyfin_0.2.0_amd64.deb", "something else");
  const auto package = DownloadedPackage::fetch(signedRelease(), cache(), 5);
  ASSERT_TRUE(package.ok()) << package.error().message;
  EXPECT_FALSE(package->reused());
  EXPECT_EQ(testing::readText(package->path()), release.package);
}

TEST_F(PackageDownloadTest, PackageAddressesFollowTheSameRules) {
  const auto plain = DownloadedPackage::fetch(signedRelease([](auto& d) {
                                                d["package_url"] =
                                                    "http://example.test/tallyfin_0.2.0_amd64.deb";
                                              }),
                                              cache(), 5);
  ASSERT_FALSE(plain.ok());
  EXPECT_NE(plain.error().message.find("uses plain http"), std::string::npos);

  for (const char* name : {"/", "/..", "/.hidden.deb", "/a%2F..%2Fb.deb", "/tallyfin 0.2.0.deb"}) {
    const std::string url = release.server.url(name);
    const auto package = DownloadedPackage::fetch(
        signedRelease([&](auto& d) { d["package_url"] = url; }), cache(), 5);
    ASSERT_FALSE(package.ok()) << name;
    EXPECT_NE(package.error().message.find("does not end in a plain file name"), std::string::npos)
        << name;
  }
  EXPECT_EQ(release.server.requests(), 0);
  EXPECT_TRUE(cacheIsEmpty());
}

// A stand-in for pkexec or xdg-open that writes down what it was asked to run,
// then exits with `status`.
std::string recordingInstaller(const std::string& folder, int status,
                               const std::string& name = "pkexec") {
  const std::string path = folder + "/" + name;
  std::ofstream(path) << "#!/bin/sh\nprintf '%s\\n' \"$@\" > \"" << folder << "/asked\"\nexit "
                      << status << "\n";
  testing::setMode(path, 0755);
  return path;
}

TEST_F(PackageDownloadTest, TheInstallerGetsTheVerifiedFileAndNothingElse) {
  const auto package = DownloadedPackage::fetch(signedRelease(), cache(), 5);
  ASSERT_TRUE(package.ok());
  const std::string tools = folder / "tools";
  testing::makeFolder(tools);
  platform::PackageInstaller::Setup setup{
      recordingInstaller(tools, 0), "/usr/bin/apt-get", "", {}, 10};
  ASSERT_TRUE(handToInstaller(*package, platform::PackageInstaller(setup)).ok());
  EXPECT_EQ(testing::readText(tools + "/asked"),
            "/usr/bin/apt-get\ninstall\n--yes\n--no-remove\n" + package->path() + "\n");

  // Without pkexec, the desktop's software installer shows the package and asks.
  std::filesystem::remove(tools + "/asked");
  const platform::PackageInstaller desktop(
      {"", "/usr/bin/apt-get", recordingInstaller(tools, 0, "xdg-open"), {}, 10});
  ASSERT_TRUE(handToInstaller(*package, desktop).ok());
  EXPECT_EQ(testing::readText(tools + "/asked"), package->path() + "\n");

  // Dismissing the password dialog is a cancellation, said as such.
  setup.pkexec = recordingInstaller(tools, 126);
  const auto dismissed = handToInstaller(*package, platform::PackageInstaller(setup));
  ASSERT_FALSE(dismissed.ok());
  EXPECT_EQ(dismissed.error().message,
            "The installation of " + package->path() + " was cancelled — nothing was installed.");
}

TEST_F(PackageDownloadTest, AFileChangedAfterVerificationIsNeverHandedOver) {
  const auto package = DownloadedPackage::fetch(signedRelease(), cache(), 5);
  ASSERT_TRUE(package.ok());
  testing::flipByte(package->path(), 7);
  const std::string tools = folder / "tools";
  testing::makeFolder(tools);
  const platform::PackageInstaller installer(
      {recordingInstaller(tools, 0), "/usr/bin/apt-get", "", {}, 10});
  const auto handed = handToInstaller(*package, installer);
  ASSERT_FALSE(handed.ok());
  EXPECT_NE(handed.error().message.find("changed after it was verified"), std::string::npos);
  EXPECT_FALSE(testing::pathExists(tools + "/asked"));
}

TEST_F(PackageDownloadTest, WithoutAnInstallerTheTerminalCommandIsGiven) {
  const auto package = DownloadedPackage::fetch(signedRelease(), cache(), 5);
  ASSERT_TRUE(package.ok());
  const auto handed = handToInstaller(*package, platform::PackageInstaller({"", "", "", {}, 10}));
  ASSERT_FALSE(handed.ok());
  EXPECT_EQ(handed.error().message, "No package installer was found — install " + package->path() +
                                        " from a terminal with: pkexec apt-get install " +
                                        package->path());
  EXPECT_EQ(platform::PackageInstaller::terminalCommand("/tmp/a b.deb"),
            "pkexec apt-get install '/tmp/a b.deb'");
}

}  // namespace
}  // namespace tallyfin
