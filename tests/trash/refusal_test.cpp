#include <sys/stat.h>

#include <gtest/gtest.h>

#include "kit/cleanup/keep_list.h"
#include "kit/cleanup/app_locations.h"
#include "kit/trash/refusal_rules.h"
#include "tests/support/app_bundle.h"
#include "tests/trash/trash_fixture.h"

namespace tallyfin {
namespace {

using Origin = TrashItem::Origin;
using testing::TempHome;

constexpr std::string_view kPersonal = "Personal data \u2014 Tallyfin never touches it";
constexpr std::string_view kContains = "Contains personal data \u2014 Tallyfin never touches it";
constexpr std::string_view kChanged = "Path changed since the scan \u2014 rescan first";
constexpr std::string_view kCredential =
    "Looks like a key or password file \u2014 Tallyfin never touches it";

void writeInfoPlist(const std::string& bundle, const std::string& identifier) {
  if (identifier.empty()) return testing::writeInfoPlist(bundle, {});
  testing::writeInfoPlist(bundle, {{"CFBundleIdentifier", identifier}});
}

class Refusal : public ::testing::Test {
 protected:
  std::optional<std::string> refusal(const std::string& path, Origin origin = Origin::userChoice) {
    return home.service().refusal(path, origin);
  }
  TempHome home;
};

TEST_F(Refusal, PathSyntax) {
  testing::makeFolder(home / "Library/Caches/y");
  for (const std::string& bad :
       {home / "Library/Caches/x/../y", home / "Library/./Caches/y", home / "Library//Caches/y",
        std::string("relative/path"), home / std::string("a\0b", 3)}) {
    EXPECT_EQ(refusal(bad), "Invalid path") << bad;
  }
}

TEST_F(Refusal, ProtectedFoldersEvenWithATrailingSlashOrOtherCase) {
  testing::makeFolder(home / "Library/Caches");
  EXPECT_EQ(refusal(home / "Library/Caches/"), "Protected folder");
  EXPECT_EQ(refusal(home / "Library"), "Protected folder");
  EXPECT_EQ(refusal(home / "library/CACHES"), "Protected folder");
  EXPECT_EQ(refusal(home.path()), "Protected folder");
  EXPECT_EQ(refusal("/usr"), "Protected folder");
}

TEST_F(Refusal, TrashAndPersonalData) {
  testing::writeFile(home / ".local/share/Trash/files/old", 1);
  testing::writeFile(home / ".ssh/known_hosts", 1);
  testing::writeFile(home / ".docker/config.json", 1);
  testing::writeFile(home / ".local/share/Tallyfin/report.json", 1);
  EXPECT_EQ(refusal(home / ".local/share/Trash/files/old"), "Already in the Trash");
  EXPECT_EQ(refusal(home / ".Trash/x"), "Already in the Trash");
  EXPECT_EQ(refusal(home / ".ssh/known_hosts"), kPersonal);
  EXPECT_EQ(refusal(home / ".SSH"), kPersonal);
  EXPECT_EQ(refusal(home / ".local/share/Tallyfin/report.json"), kPersonal);
  EXPECT_EQ(refusal(home / ".docker"), kContains);
  EXPECT_EQ(refusal(home / ".local/share"), kContains);
}

TEST_F(Refusal, OtherDisksAndOutsideHome) {
  EXPECT_EQ(refusal("/Volumes/Backup/x"),
            "On another disk \u2014 Tallyfin cleans your home folder on your computer. Use your file manager "
            "for external drives");
  EXPECT_EQ(refusal("/media/usb/x"),
            "On another disk \u2014 Tallyfin cleans your home folder on your computer. Use your file manager "
            "for external drives");
  EXPECT_EQ(refusal("/tmp/x"), "Outside your home folder \u2014 use the command shown, or your file manager");
  EXPECT_EQ(refusal(home.path() + "x/y"),
            "Outside your home folder \u2014 use the command shown, or your file manager");
}

TEST_F(Refusal, TheDiskMustStillMatchTheScan) {
  testing::makeFolder(home / "Library/Caches/com.foo");
  EXPECT_EQ(refusal(home / "Library/Caches/gone"), "No longer exists");
  // A case-sensitive file system has no "caches" folder: the item is not there.
  EXPECT_EQ(refusal(home / "library/caches/com.foo"), "No longer exists");

  testing::makeFolder(home / "real/stuff");
  testing::symbolicLink(home / "real", home / "linked");
  EXPECT_EQ(refusal(home / "linked/stuff"), kChanged);

  // A parent replaced by a link since the scan.
  testing::makeFolder(home / "projects/app/build");
  std::filesystem::rename(home / "projects/app", home / "projects/moved");
  testing::symbolicLink(home / "projects/moved", home / "projects/app");
  EXPECT_EQ(refusal(home / "projects/app/build"), kChanged);
}

TEST_F(Refusal, SuggestionsMustStillBeRecognisedAndNotKept) {
  testing::makeFolder(home / "Library/Caches/com.foo");
  testing::makeFolder(home / "Notes/stuff");
  EXPECT_EQ(refusal(home / "Library/Caches/com.foo", Origin::suggestion), std::nullopt);
  EXPECT_EQ(refusal(home / "Notes/stuff", Origin::suggestion),
            "Not a recognised cleanup item \u2014 rescan first");
  EXPECT_EQ(refusal(home / "Notes/stuff", Origin::userChoice), std::nullopt);
  ASSERT_TRUE(KeepList::set(home.store(), home / "Library/Caches/com.foo", true).ok());
  EXPECT_EQ(refusal(home / "Library/Caches/com.foo", Origin::suggestion), "You chose to keep this");
  EXPECT_EQ(refusal(home / "Library/Caches/com.foo", Origin::autopilot), "You chose to keep this");

  // A keep list that can't be read keeps every suggestion where it is, kept or not.
  testing::writeText(home.store().url(Store::File::keep), "[\"" + home / "Library/Caches/com.foo" + "\"");
  const std::string unknown = "keep.json in " + home.store().directory() +
                              " is damaged and can't be read, so Tallyfin can't tell what you chose to keep "
                              "\u2014 fix keep.json or remove it (removing forgets every kept item), then try again.";
  testing::makeFolder(home / "Library/Caches/com.bar");
  for (const char* path : {"Library/Caches/com.foo", "Library/Caches/com.bar"}) {
    EXPECT_EQ(refusal(home / path, Origin::suggestion), unknown);
    EXPECT_EQ(refusal(home / path, Origin::autopilot), unknown);
  }
  EXPECT_EQ(refusal(home / "Library/Caches/com.bar", Origin::userChoice), std::nullopt);
  // Nor is the damaged list replaced by the next change.
  const auto changed = KeepList::set(home.store(), home / "Library/Caches/com.bar", true);
  ASSERT_FALSE(changed.ok());
  EXPECT_EQ(changed.error().message, unknown);
  EXPECT_EQ(testing::readText(home.store().url(Store::File::keep)), "[\"" + home / "Library/Caches/com.foo" + "\"");
  EXPECT_TRUE(KeepList::paths(home.store()).empty());  // totals still show
}

TEST_F(Refusal, GitHistoryAndCredentials) {
  testing::makeFolder(home / "code/app/.git/objects");
  EXPECT_EQ(refusal(home / "code/app/.git/objects"), "Part of a git repository's history");
  EXPECT_EQ(refusal(home / "code/app/.git"), "Part of a git repository's history");
  for (const char* name : {".env.local", "id_ed25519", "server.pem", ".env", "credentials.json"}) {
    testing::writeFile(home / ("code/app/" + std::string(name)), 10);
    EXPECT_EQ(refusal(home / ("code/app/" + std::string(name))), kCredential) << name;
  }
  for (const char* name : {".env.example", "id_ed25519.pub", "notes.txt"}) {
    testing::writeFile(home / ("code/app/" + std::string(name)), 10);
    EXPECT_EQ(refusal(home / ("code/app/" + std::string(name))), std::nullopt) << name;
  }
  testing::writeFile(home / "code/app/server.key", 3000);
  EXPECT_EQ(refusal(home / "code/app/server.key"), kCredential);
  testing::writeFile(home / "code/app/big.key", 65'536);
  EXPECT_EQ(refusal(home / "code/app/big.key"), std::nullopt);
  testing::writeFile(home / "Documents/Talk.key/Index.zip", 3000);
  EXPECT_EQ(refusal(home / "Documents/Talk.key"), std::nullopt);
}

TEST_F(Refusal, AppLeftoversMayTakePreferencesOthersMayNot) {
  testing::writeFile(home / "Library/Preferences/com.foo.plist", 10);
  EXPECT_EQ(refusal(home / "Library/Preferences/com.foo.plist", Origin::appLeftover), std::nullopt);
  EXPECT_EQ(refusal(home / "Library/Preferences/com.foo.plist", Origin::userChoice), kPersonal);
  testing::writeFile(home / "Library/Preferences/com.apple.dock.plist", 10);
  EXPECT_EQ(refusal(home / "Library/Preferences/com.apple.dock.plist", Origin::appLeftover),
            "Not one of the app's own items");
  testing::makeFolder(home / "Library/Application Support/Foo/deeper");
  EXPECT_EQ(refusal(home / "Library/Application Support/Foo/deeper", Origin::appLeftover),
            "Not one of the app's own items");
  EXPECT_EQ(refusal(home / "Library/Keychains/login.keychain-db", Origin::appLeftover),
            "Not one of the app's own items");
}

TEST_F(Refusal, ApplicationBundles) {
  const std::string apps = home / "Applications";
  writeInfoPlist(apps + "/Foo.app", "org.example.foo");
  writeInfoPlist(apps + "/Notes.app", "com.apple.Notes");
  writeInfoPlist(apps + "/Pages.app", "com.apple.iWork.Pages");
  testing::writeFile(apps + "/Pages.app/Contents/_MASReceipt/receipt", 10);
  writeInfoPlist(apps + "/Self.app", "com.morvek.Tallyfin");
  writeInfoPlist(apps + "/Blank.app", "");
  writeInfoPlist(home / "Downloads/Foo.app", "org.example.foo");
  EXPECT_EQ(refusal(apps + "/Foo.app", Origin::application), std::nullopt);
  EXPECT_EQ(refusal(apps + "/Notes.app", Origin::application), "Part of macOS");
  EXPECT_EQ(refusal(apps + "/Pages.app", Origin::application), std::nullopt);
  EXPECT_EQ(refusal(apps + "/Self.app", Origin::application),
            "That's Tallyfin \u2014 remove it in your file manager if you want to");
  EXPECT_EQ(refusal(apps + "/Blank.app", Origin::application), "Not an app");
  EXPECT_EQ(refusal(apps + "/Sub/Foo.app", Origin::application), "Not an app");
  EXPECT_EQ(refusal(home / "Downloads/Foo.app", Origin::application),
            "Only apps in Applications can be removed");
}

TEST(TrashRules, CredentialNames) {
  for (const char* yes : {".env", ".ENV.production", ".npmrc", "credentials", "id_rsa",
                          "id_rsa_work", "vault.kdbx", "login.keychain-db", "key.asc", "cert.P12"}) {
    EXPECT_TRUE(TrashRules::isCredentialFile(yes)) << yes;
  }
  for (const char* no : {".env.example", ".env.sample", ".env.template", ".env.dist",
                         "id_rsa.pub", "environment", "README.md", "key"}) {
    EXPECT_FALSE(TrashRules::isCredentialFile(no)) << no;
  }
}

TEST(TrashRules, ProtectedAndSensitiveSets) {
  const auto protectedPaths = TrashRules::protectedPaths("/Users/Ann");
  EXPECT_EQ(protectedPaths.size(), 9u + 20u);
  EXPECT_TRUE(protectedPaths.contains("/users/ann/library/developer/coresimulator/devices"));
  const auto all = TrashRules::sensitiveTrees("/Users/Ann", false);
  const auto leftovers = TrashRules::sensitiveTrees("/Users/Ann", true);
  EXPECT_EQ(all.size(), 57u + 3u);
  EXPECT_EQ(leftovers.size(), all.size() - 1);
  EXPECT_EQ(all[0], "/users/ann/.trash");
}

TEST(AppLocations, LeftoverAndBundleLocations) {
  const std::string home = "/home/ann";
  EXPECT_TRUE(AppUninstaller::isLeftoverLocation(home + "/Library/Caches/org.foo", home));
  EXPECT_TRUE(AppUninstaller::isLeftoverLocation(home + "/Library/Preferences/ByHost/org.foo.x.plist", home));
  EXPECT_FALSE(AppUninstaller::isLeftoverLocation(home + "/Library/Preferences/org.foo", home));
  EXPECT_FALSE(AppUninstaller::isLeftoverLocation(home + "/Library/Caches", home));
  EXPECT_FALSE(AppUninstaller::isLeftoverLocation(home + "/Library/Caches/Tallyfin", home));
  EXPECT_FALSE(AppUninstaller::isLeftoverLocation(home + "/Library/Caches/com.morvek.tallyfin.x", home));
  EXPECT_FALSE(AppUninstaller::isLeftoverLocation(home + "/Library/Caches/../x", home));
  EXPECT_FALSE(AppUninstaller::isLeftoverLocation("/Library/Caches/org.foo", home));
  EXPECT_TRUE(AppUninstaller::isAppBundleLocation("/Applications/Foo.app", home));
  EXPECT_TRUE(AppUninstaller::isAppBundleLocation(home + "/Applications/Foo.app", home));
  EXPECT_FALSE(AppUninstaller::isAppBundleLocation("/Applications/Sub/Foo.app", home));
  EXPECT_FALSE(AppUninstaller::isAppBundleLocation("/Applications/Foo", home));
}

}  // namespace
}  // namespace tallyfin
