// A Mac-like home in a temp folder: apps in ~/Applications as real bundles with
// an Info.plist, and what they leave in ~/Library.

#include "kit/tools/app_uninstaller.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "kit/base/tree_walk.h"
#include "tests/support/app_bundle.h"
#include "tests/support/file_content.h"
#include "tests/trash/trash_fixture.h"

namespace tallyfin {
namespace {

using testing::TempHome;
constexpr int64_t kDay = 86'400;

// Dates the path and everything below it, so the quiet period sees one time.
void age(const std::string& path, int64_t seconds) {
  walkTree(path, {}, 1000, [&](const std::string& entry, const struct stat&) {
    testing::setModified(entry, seconds);
    return true;
  });
  testing::setModified(path, seconds);
}

class Uninstaller : public ::testing::Test {
 protected:
  std::string apps() const { return home / "Applications"; }
  std::string library(const std::string& relative) const { return home / ("Library/" + relative); }

  std::string app(const std::string& name, const std::string& identifier,
                  std::vector<std::pair<std::string, std::string>> extra = {}) {
    const std::string bundle = apps() + "/" + name + ".app";
    extra.emplace_back("CFBundleIdentifier", identifier);
    testing::writeInfoPlist(bundle, extra);
    return bundle;
  }
  std::vector<InstalledApp> installed() const {
    return AppUninstaller::installedApps({apps()}, home.path());
  }
  const AppLeftover* find(const std::vector<AppLeftover>& found, const std::string& path) const {
    const auto it = std::find_if(found.begin(), found.end(), [&](const AppLeftover& l) { return l.path == path; });
    return it == found.end() ? nullptr : &*it;
  }

  TempHome home;
  const double now = static_cast<double>(std::time(nullptr));
};

TEST_F(Uninstaller, ListsBundlesWithWhatTheirInfoPlistSays) {
  const std::string foo = app("Foo", "org.example.foo",
                              {{"CFBundleDisplayName", "Foo Pro"}, {"CFBundleShortVersionString", "2.1"},
                               {"CFBundleVersion", "2100"}, {"CFBundleExecutable", "foo"}});
  testing::writeFile(foo + "/Contents/MacOS/foo", 100'000);
  const timespec times[2] = {{1'700'000'000, 0}, {0, UTIME_OMIT}};
  ASSERT_EQ(::utimensat(AT_FDCWD, (foo + "/Contents/MacOS/foo").c_str(), times, 0), 0);
  app("Notes", "com.apple.Notes", {{"CFBundleVersion", "4.11"}});
  const std::string pages = app("Pages", "com.apple.iWork.Pages");
  testing::writeFile(pages + "/Contents/_MASReceipt/receipt", 10);
  testing::writeInfoPlist(apps() + "/Blank.app", {});
  testing::makeFolder(apps() + "/Folder");

  const auto listed = installed();
  ASSERT_EQ(listed.size(), 3u);  // the bundle without an identifier is not an app
  EXPECT_EQ(listed[0].name, "Foo Pro");
  EXPECT_EQ(listed[0].bundleID, "org.example.foo");
  EXPECT_EQ(listed[0].version, "2.1");
  EXPECT_EQ(listed[0].lastUsed, 1'700'000'000);
  EXPECT_EQ(listed[0].refusal, std::nullopt);
  EXPECT_GE(listed[0].size, 100'000);
  // Measured as every scan measures: the files' allocated bytes.
  EXPECT_EQ(listed[0].size, testing::allocatedBytes(foo + "/Contents/Info.plist") +
                                testing::allocatedBytes(foo + "/Contents/MacOS/foo"));

  EXPECT_EQ(listed[1].name, "Notes");
  EXPECT_EQ(listed[1].version, "4.11");
  EXPECT_FALSE(listed[1].fromAppStore);
  EXPECT_EQ(listed[1].refusal, "Part of macOS");
  EXPECT_EQ(listed[1].lastUsed, std::nullopt);

  EXPECT_EQ(listed[2].name, "Pages");
  EXPECT_TRUE(listed[2].fromAppStore);
  EXPECT_EQ(listed[2].refusal, std::nullopt);  // Apple's App Store apps may go
}

TEST_F(Uninstaller, FindsLeftoversByBundleIDAndMarksTheUncertainOnes) {
  const auto foo = app("Foo", "org.example.Foo", {{"CFBundleName", "Foo"}});
  app("Bar", "org.example.bar", {{"CFBundleExecutable", "Helper"}});
  app("Baz", "org.example.baz", {{"CFBundleExecutable", "Helper"}});
  testing::writeFile(library("Caches/org.example.foo/cache.db"), 5000);  // case does not matter
  testing::writeFile(library("Preferences/org.example.Foo.plist"), 10);
  testing::writeFile(library("Preferences/ByHost/org.example.Foo.plist"), 10);
  testing::makeFolder(library("Saved Application State/org.example.Foo.savedState"));
  testing::makeFolder(library("Containers/org.example.Foo/Data/Documents"));
  testing::makeFolder(library("Group Containers/group.org.example.Foo"));
  testing::makeFolder(library("Group Containers/ABCDE12345.org.example.Foo"));
  testing::writeFile(library("HTTPStorages/org.example.Foo.binarycookies"), 10);
  testing::writeFile(library("Application Support/Foo/data"), 10);
  testing::writeFile(library("Logs/Helper/log"), 10);                 // shared by Bar and Baz
  testing::writeFile(library("Preferences/org.example.Foo"), 10);      // a preference folder holds plists only
  testing::writeFile(library("Caches/org.example.Foo.extra/x"), 10);   // another id
  testing::writeFile(library("Caches/com.apple.Foo/x"), 10);

  const auto listed = installed();
  const auto it = std::find_if(listed.begin(), listed.end(), [&](const InstalledApp& a) { return a.path == foo; });
  ASSERT_NE(it, listed.end());
  const auto found = AppUninstaller::leftovers(*it, listed, home.path());
  EXPECT_EQ(found.size(), 9u);

  const auto* cache = find(found, library("Caches/org.example.foo"));
  ASSERT_NE(cache, nullptr);
  EXPECT_EQ(cache->kind, LeftoverKind::caches);
  EXPECT_GE(cache->size, 5000);
  EXPECT_TRUE(cache->tickedByDefault());
  EXPECT_NE(find(found, library("Preferences/ByHost/org.example.Foo.plist")), nullptr);
  EXPECT_NE(find(found, library("HTTPStorages/org.example.Foo.binarycookies")), nullptr);
  EXPECT_NE(find(found, library("Saved Application State/org.example.Foo.savedState")), nullptr);
  for (const std::string group : {"Group Containers/group.org.example.Foo", "Group Containers/ABCDE12345.org.example.Foo"}) {
    const auto* shared = find(found, library(group));
    ASSERT_NE(shared, nullptr) << group;
    EXPECT_TRUE(shared->mayHoldDocuments);  // always: other apps share it
    EXPECT_FALSE(shared->tickedByDefault());
  }
  const auto* container = find(found, library("Containers/org.example.Foo"));
  ASSERT_NE(container, nullptr);
  EXPECT_FALSE(container->mayHoldDocuments);  // its Documents folder is empty
  const auto* byName = find(found, library("Application Support/Foo"));
  ASSERT_NE(byName, nullptr);
  EXPECT_TRUE(byName->matchedByName);
  EXPECT_FALSE(byName->tickedByDefault());
  EXPECT_EQ(find(found, library("Logs/Helper")), nullptr);
  EXPECT_EQ(find(found, library("Preferences/org.example.Foo")), nullptr);

  testing::writeFile(library("Containers/org.example.Foo/Data/Documents/letter.txt"), 10);
  EXPECT_TRUE(AppUninstaller::mayHoldDocuments(library("Containers/org.example.Foo"), LeftoverKind::containers));
  EXPECT_FALSE(AppUninstaller::mayHoldDocuments(library("Caches/org.example.foo"), LeftoverKind::caches));
}

TEST_F(Uninstaller, AppleAppStoreAppsOnlyLookInTheirContainers) {
  const auto keynote = app("Keynote", "com.apple.iWork.Keynote");
  testing::writeFile(keynote + "/Contents/_MASReceipt/receipt", 10);
  testing::writeFile(library("Application Support/Keynote/x"), 10);
  testing::makeFolder(library("Containers/com.apple.iWork.Keynote"));
  const auto listed = installed();
  ASSERT_EQ(listed.size(), 1u);
  // Apple's own container names are never leftovers, and the name search is off.
  EXPECT_TRUE(AppUninstaller::leftovers(listed[0], listed, home.path()).empty());
}

TEST_F(Uninstaller, LeftoversOfRemovedAppsWaitTwoQuietWeeks) {
  app("Foo", "org.example.foo");
  const int64_t monthAgo = static_cast<int64_t>(now) - 30 * kDay;
  testing::writeFile(library("Caches/com.gone.photo-tool/a"), 8192);
  testing::writeFile(library("Preferences/com.gone.photo-tool.plist"), 10);
  testing::makeFolder(library("Group Containers/group.com.gone.photo-tool"));
  testing::writeFile(library("Caches/com.recent.editor/a"), 10);
  testing::writeFile(library("Caches/com.deep.change/sub/old"), 10);
  testing::writeFile(library("Caches/org.example.foo/a"), 10);  // still installed
  testing::writeFile(library("Caches/NotABundle/a"), 10);
  testing::writeFile(library("Caches/com.apple.Safari/a"), 10);
  for (const std::string path : {"Caches/com.gone.photo-tool", "Preferences/com.gone.photo-tool.plist",
                                 "Group Containers/group.com.gone.photo-tool", "Caches/com.deep.change",
                                 "Caches/org.example.foo", "Caches/NotABundle", "Caches/com.apple.Safari"}) {
    age(library(path), monthAgo);
  }
  age(library("Caches/com.recent.editor"), static_cast<int64_t>(now) - 10 * kDay);
  testing::setModified(library("Caches/com.deep.change/sub/old"), static_cast<int64_t>(now) - kDay);

  const auto groups = AppUninstaller::orphans(home.path(), installed(), AppUninstaller::kOrphanQuietDays, now);
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].bundleID, "com.gone.photo-tool");
  EXPECT_EQ(groups[0].displayName(), "Photo Tool");
  EXPECT_EQ(groups[0].lastModified, monthAgo);
  EXPECT_EQ(groups[0].leftovers.size(), 3u);
  EXPECT_GE(groups[0].size(), 8192);

  // Thirty days of quiet are not enough when the list asks for forty.
  EXPECT_TRUE(AppUninstaller::orphans(home.path(), installed(), 40, now).empty());
}

TEST_F(Uninstaller, DisplayNamesOfBundleIDs) {
  EXPECT_EQ((OrphanGroup{"com.example.photo-tool", {}, 0}).displayName(), "Photo Tool");
  EXPECT_EQ((OrphanGroup{"com.tinyspeck.slackmacgap", {}, 0}).displayName(), "Slackmacgap");
  EXPECT_EQ((OrphanGroup{"com.electron.signal.desktop", {}, 0}).displayName(), "Signal");
  EXPECT_EQ((OrphanGroup{"org.x.some_tool", {}, 0}).displayName(), "Some Tool");
}

TEST_F(Uninstaller, MovesTheAppAndTheChosenLeftoversAsOneBatchAndPutsThemBack) {
  const auto foo = app("Foo", "org.example.foo");
  testing::writeFile(foo + "/Contents/MacOS/foo", 10);
  testing::writeFile(library("Caches/org.example.foo/a"), 10);
  testing::writeFile(library("Preferences/org.example.foo.plist"), 10);
  testing::makeFolder(library("Group Containers/group.org.example.foo"));
  const auto listed = installed();
  ASSERT_EQ(listed.size(), 1u);
  const auto found = AppUninstaller::leftovers(listed[0], listed, home.path());
  ASSERT_EQ(found.size(), 3u);
  std::vector<AppLeftover> chosen;
  std::copy_if(found.begin(), found.end(), std::back_inserter(chosen), [](const AppLeftover& l) {
    return l.tickedByDefault();
  });
  ASSERT_EQ(chosen.size(), 2u);

  const auto service = home.service();
  const auto outcome = AppUninstaller::uninstall(service, listed[0], chosen, home.path(), now);
  ASSERT_TRUE(outcome.failed.empty()) << outcome.failed[0].first << ": " << outcome.failed[0].second;
  ASSERT_EQ(outcome.moved.size(), 3u);
  for (const auto& entry : outcome.moved) EXPECT_EQ(entry.batch, outcome.batch);
  EXPECT_EQ(outcome.moved[0].label, "Uninstall Foo");
  EXPECT_FALSE(testing::pathExists(foo));
  EXPECT_FALSE(testing::pathExists(library("Caches/org.example.foo")));
  EXPECT_TRUE(testing::pathExists(library("Group Containers/group.org.example.foo")));  // not chosen

  const auto undone = service.undo(outcome.batch);
  EXPECT_EQ(undone.restored.size(), 3u);
  EXPECT_TRUE(testing::pathExists(foo + "/Contents/MacOS/foo"));
  EXPECT_TRUE(testing::pathExists(library("Preferences/org.example.foo.plist")));
}

TEST_F(Uninstaller, AnAppleAppWithoutAReceiptDoesNotMoveEvenWhenAsked) {
  const auto notes = app("Notes", "com.apple.Notes");
  const auto listed = installed();
  ASSERT_EQ(listed.size(), 1u);
  const auto outcome = AppUninstaller::uninstall(home.service(), listed[0], {}, home.path(), now);
  ASSERT_EQ(outcome.failed.size(), 1u);
  EXPECT_EQ(outcome.failed[0].second, "Part of macOS");
  EXPECT_TRUE(testing::pathExists(notes));
}

}  // namespace
}  // namespace tallyfin
