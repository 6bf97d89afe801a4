// The disk tools as the app's model runs them: real files in a temp home, small
// shell scripts standing in for docker and flatpak as real child processes, and
// every move through the real Trash, with undo.

#include "app/model/tool_results.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ctime>

#include "app/model/app_model.h"
#include "app/tests/app_home.h"
#include "kit/store/format.h"
#include "tests/support/app_bundle.h"

namespace tallyfin::app {
namespace {

using tallyfin::testing::MiB;
using tallyfin::testing::pathExists;
using testing::AppHome;
using testing::eventually;
using Tool = ToolResults::Tool;

constexpr int64_t kDay = 86'400;

void script(const std::string& path, const std::string& body) {
  tallyfin::testing::writeText(path, "#!/bin/sh\n" + body + "\n");
  tallyfin::testing::setMode(path, 0755);
}

bool loaded(AppModel& model, Tool tool) {
  return eventually([&] { return !model.tools().isLoading(tool); });
}

const TrashOutcome& moved(AppModel& model) {
  EXPECT_TRUE(eventually([&] { return model.trash().lastOutcome().has_value() && !model.trash().isTrashing(); }));
  return *model.trash().lastOutcome();
}

TEST(DuplicateTools, AFoldersCopiesAreFoundTheKeptCopyStaysAndUndoBringsTheExtraBack) {
  AppHome home;
  const std::string first = home / "Downloads/setup.iso";
  const std::string copy = home / "Downloads/old/setup (1).iso";
  tallyfin::testing::patternFile(first, 3 * MiB, 1);
  tallyfin::testing::patternFile(copy, 3 * MiB, 1);
  tallyfin::testing::patternFile(home / "Downloads/other.iso", 3 * MiB, 2);  // same size, other bytes
  tallyfin::testing::patternFile(home / "Downloads/tiny.txt", 1'000, 1);     // under the minimum
  tallyfin::testing::setModified(first, 1'600'000'000);
  tallyfin::testing::setModified(copy, 1'700'000'000);
  AppModel model{home.environment()};

  model.tools().findDuplicates(home / "Downloads", 1'000'000);
  EXPECT_TRUE(model.tools().isLoading(Tool::duplicates));
  model.tools().findDuplicates(home / "Downloads", 1'000'000);  // pressing again starts no second search
  ASSERT_TRUE(loaded(model, Tool::duplicates));
  ASSERT_TRUE(model.tools().duplicates.has_value());
  const auto& found = *model.tools().duplicates;
  EXPECT_EQ(found.folder, home / "Downloads");
  EXPECT_EQ(found.minimum, 1'000'000);
  ASSERT_EQ(found.groups.size(), 1u);
  const auto copies = found.groups[0].byAge();
  ASSERT_EQ(copies.size(), 2u);
  EXPECT_EQ(copies[0].path, first);
  EXPECT_EQ(copies[1].path, copy);
  EXPECT_FALSE(model.tools().duplicateProgress().has_value());
  EXPECT_FALSE(model.tools().duplicateMessage().has_value());
  EXPECT_TRUE(home.store().modificationDate(Store::File::duplicateHashes).has_value());

  model.trashDuplicates({{first, {copies[1]}}});
  const TrashOutcome& outcome = moved(model);
  ASSERT_EQ(outcome.moved.size(), 1u);
  EXPECT_FALSE(pathExists(copy));
  EXPECT_TRUE(pathExists(first));
  EXPECT_EQ(model.trash().batches().front().label(), "Duplicate: setup (1).iso");
  EXPECT_EQ(*model.notice(), "Moved 1 item to the Trash \u2014 freed " + Format::bytes(copies[1].privateSize) + ".");
  EXPECT_EQ(model.trash().movedSince(*model.tools().madeAt(Tool::duplicates)), std::set<std::string>{copy});

  model.undo(outcome.batch);
  ASSERT_TRUE(eventually([&] { return pathExists(copy) && !model.trash().isTrashing(); }));
  EXPECT_TRUE(model.trash().movedSince(*model.tools().madeAt(Tool::duplicates)).empty());
  EXPECT_EQ(*model.notice(), "Put back 1 item.");
}

TEST(DuplicateTools, ACopyChangedAfterTheSearchStaysAndTheNoticeSaysWhy) {
  AppHome home;
  const std::string keeper = home / "Movies/talk.mp4";
  const std::string same = home / "Movies/talk copy.mp4";
  const std::string changed = home / "Movies/talk final.mp4";
  for (const auto& path : {keeper, same, changed}) tallyfin::testing::patternFile(path, 2 * MiB, 7);
  AppModel model{home.environment()};
  model.tools().findDuplicates(home / "Movies", 1'000'000);
  ASSERT_TRUE(loaded(model, Tool::duplicates));
  ASSERT_EQ(model.tools().duplicates->groups.size(), 1u);
  const auto copies = model.tools().duplicates->groups[0].byAge();
  ASSERT_EQ(copies.size(), 3u);

  tallyfin::testing::flipByte(changed, MiB + 5);  // edited after the search
  AppModel::DuplicateRemoval removal{keeper, {}};
  for (const auto& file : copies) {
    if (file.path != keeper) removal.extras.push_back(file);
  }
  model.trashDuplicates({removal});
  const TrashOutcome& outcome = moved(model);
  ASSERT_EQ(outcome.moved.size(), 1u);
  EXPECT_EQ(outcome.moved[0].path, same);
  ASSERT_EQ(outcome.failed.size(), 1u);
  EXPECT_EQ(outcome.failed[0].first, changed);
  EXPECT_TRUE(pathExists(changed));
  EXPECT_FALSE(model.noticeIsSuccess());
  EXPECT_NE(model.notice()->find("~/Movies/talk final.mp4: No longer the same as the copy kept"), std::string::npos)
      << *model.notice();
  EXPECT_EQ(model.trash().batches().front().label(), "Duplicates: 2 items");
}

TEST(DuplicateTools, TheLastScansBigFilesNeedAScanAndCancelSaysTheSearchStopped) {
  AppHome home;
  AppModel model{home.environment()};
  model.tools().findDuplicates(std::nullopt, DuplicateFinder::kDefaultMinimum);
  EXPECT_FALSE(model.tools().isLoading(Tool::duplicates));
  ASSERT_TRUE(model.tools().duplicateMessage().has_value());
  EXPECT_EQ(*model.tools().duplicateMessage(), "There is no scan to search yet \u2014 scan first, or choose a folder.");

  // The home's video and a copy of it are the scan's big files.
  tallyfin::testing::allocateFile(home / "Videos/holiday copy.mkv", 110 << 20);
  home.scanWithCommandLine();
  model.scanner().load();
  ASSERT_TRUE(eventually([&] { return model.scanner().report() != nullptr; }));
  model.tools().load(Tool::duplicates);
  ASSERT_TRUE(loaded(model, Tool::duplicates));
  EXPECT_FALSE(model.tools().duplicates->folder.has_value());
  ASSERT_EQ(model.tools().duplicates->groups.size(), 1u);
  EXPECT_EQ(model.tools().duplicates->groups[0].files.size(), 2u);

  model.tools().findDuplicates(std::nullopt, DuplicateFinder::kDefaultMinimum);
  model.tools().cancelDuplicates();
  ASSERT_TRUE(loaded(model, Tool::duplicates));
  ASSERT_TRUE(model.tools().duplicateMessage().has_value());
  EXPECT_TRUE(model.tools().duplicateMessage()->starts_with("Stopped")) << *model.tools().duplicateMessage();
}

// A project with node_modules beside its package.json, in a git working tree.
class ProjectHome : public ::testing::Test {
 protected:
  void SetUp() override {
    tallyfin::testing::writeFile(project + "/package.json", 20);
    tallyfin::testing::allocateFile(project + "/node_modules/lib/index.js", 12 << 20);
    tallyfin::testing::writeText(project + "/.git/HEAD", "ref: refs/heads/feature/login\n");
    tallyfin::testing::writeText(project + "/.git/logs/HEAD", "0 1 Ann <a@b> 1700000000 +0100\tcommit: first\n");
    tallyfin::testing::writeText(project + "/src/app.js", "x");
    tallyfin::testing::writeText(project + "/.git/index", "");
    tallyfin::testing::setModified(project + "/.git/index", 1'700'000'000);
    model.scanner().load();
    model.scanner().scan();
    ASSERT_TRUE(eventually([&] { return model.scanner().report() != nullptr && !model.scanner().isScanning(); }));
  }

  AppHome home;
  AppModel model{home.environment()};
  const std::string project = home / "code/web";
};

TEST_F(ProjectHome, ClutterIsListedWithGitFactsMovedAndPutBack) {
  model.tools().load(Tool::projects);
  ASSERT_TRUE(loaded(model, Tool::projects));
  ASSERT_TRUE(model.tools().projects.has_value());
  const auto& projects = *model.tools().projects;
  ASSERT_EQ(projects.size(), 1u);
  EXPECT_EQ(projects[0].path, project);
  ASSERT_TRUE(projects[0].git.has_value());
  EXPECT_EQ(projects[0].git->branch, "feature/login");
  EXPECT_EQ(projects[0].git->lastCommit, 1'700'000'000);
  EXPECT_EQ(projects[0].git->dirty, true);  // src/app.js is newer than the index
  const std::string clutter = project + "/node_modules";
  ASSERT_EQ(projects[0].clutter.size(), 1u);
  EXPECT_EQ(projects[0].clutter[0].path, clutter);

  model.trashClutter({clutter, project + "/src"});  // only listed clutter can go
  const TrashOutcome& outcome = moved(model);
  ASSERT_EQ(outcome.moved.size(), 1u);
  EXPECT_TRUE(outcome.failed.empty());
  EXPECT_FALSE(pathExists(clutter));
  EXPECT_TRUE(pathExists(project + "/src/app.js"));
  EXPECT_EQ(model.trash().batches().front().label(), "node_modules \u00b7 web");
  const HiddenPaths hidden{{}, {model.trash().removed().begin(), model.trash().removed().end()}};
  EXPECT_TRUE(ProjectScanner::remaining(projects, hidden).empty());

  model.undo(outcome.batch);
  ASSERT_TRUE(eventually([&] { return pathExists(clutter + "/lib/index.js") && model.trash().removed().empty(); }));
}

TEST_F(ProjectHome, TheStaleFilterIsWrittenToThePreferencesAndReadByTheNextStart) {
  EXPECT_FALSE(model.projectsStaleOnly());
  EXPECT_EQ(model.projectsStaleDays(), ProjectScanner::kDefaultStaleDays);
  model.setProjectsStale(true, 180);
  EXPECT_TRUE(model.projectsStaleOnly());
  const Preferences preferences = home.environment().preferences;
  ASSERT_TRUE(eventually([&] { return preferences.projectsStaleDays() == 180; }));
  EXPECT_TRUE(preferences.flag(Preferences::Flag::projectsStaleOnly));
  const AppModel next{home.environment()};
  EXPECT_TRUE(next.projectsStaleOnly());
  EXPECT_EQ(next.projectsStaleDays(), 180);
}

// ~/Applications with a part of the system and an app of the user's, and what it left in ~/Library.
class AppsHome : public ::testing::Test {
 protected:
  void SetUp() override {
    tallyfin::testing::writeInfoPlist(calculator, {{"CFBundleIdentifier", "com.apple.calculator"}});
    tallyfin::testing::writeInfoPlist(sketch,
                                      {{"CFBundleIdentifier", "com.example.sketch"}, {"CFBundleName", "Sketchbook"}});
    tallyfin::testing::writeFile(home / "Library/Caches/com.example.sketch/cache.db", 5'000);
    tallyfin::testing::writeFile(home / "Library/Containers/com.example.sketch/Data/Documents/drawing.sk", 100);
  }

  AppEnvironment withFlatpak() const {
    AppEnvironment environment = home.environment();
    environment.flatpakPlaces = {home / "bin/flatpak"};
    return environment;
  }

  AppHome home;
  const std::string calculator = home / "Applications/Calculator.app";
  const std::string sketch = home / "Applications/Sketchbook.app";
};

TEST_F(AppsHome, APartOfTheSystemIsRefusedWithItsReasonWhateverTheListSays) {
  AppModel model{home.environment()};
  model.tools().load(Tool::apps);
  ASSERT_TRUE(loaded(model, Tool::apps));
  const auto& apps = model.tools().apps->inventory.apps;
  ASSERT_EQ(apps.size(), 2u);
  const InstalledApp& system = apps[0].path == calculator ? apps[0] : apps[1];
  ASSERT_EQ(system.refusal, "Part of macOS");
  EXPECT_FALSE(model.tools().apps->leftovers.contains(calculator));  // never offered, so nothing to tick

  model.uninstall(system, {});
  EXPECT_EQ(*model.notice(), "Calculator can't be removed here: Part of macOS.");
  EXPECT_FALSE(model.trash().isTrashing());

  // A list that missed the refusal is caught by the Trash's own check.
  InstalledApp unmarked = system;
  unmarked.refusal.reset();
  model.uninstall(unmarked, {});
  const TrashOutcome& outcome = moved(model);
  EXPECT_TRUE(outcome.moved.empty());
  ASSERT_EQ(outcome.failed.size(), 1u);
  EXPECT_EQ(outcome.failed[0].second, "Part of macOS");
  EXPECT_TRUE(pathExists(calculator + "/Contents/Info.plist"));
}

TEST_F(AppsHome, AnAppMovesWithTheLeftoversTickedAndComesBackTogether) {
  AppModel model{home.environment()};
  model.tools().load(Tool::apps);
  ASSERT_TRUE(loaded(model, Tool::apps));
  const auto& found = *model.tools().apps;
  const auto app = std::find_if(found.inventory.apps.begin(), found.inventory.apps.end(),
                                [&](const InstalledApp& a) { return a.path == sketch; });
  ASSERT_NE(app, found.inventory.apps.end());
  const auto& leftovers = found.leftovers.at(sketch);
  ASSERT_EQ(leftovers.size(), 2u);
  std::vector<AppLeftover> chosen;
  for (const auto& leftover : leftovers) {
    if (leftover.tickedByDefault()) chosen.push_back(leftover);
  }
  // The container holds a document, so it is left for the user to tick.
  ASSERT_EQ(chosen.size(), 1u);
  EXPECT_EQ(chosen[0].path, home / "Library/Caches/com.example.sketch");

  model.uninstall(*app, chosen);
  const TrashOutcome& outcome = moved(model);
  ASSERT_EQ(outcome.moved.size(), 2u) << (outcome.failed.empty() ? "" : outcome.failed[0].second);
  EXPECT_FALSE(pathExists(sketch));
  EXPECT_FALSE(pathExists(chosen[0].path));
  EXPECT_TRUE(pathExists(home / "Library/Containers/com.example.sketch/Data/Documents/drawing.sk"));
  EXPECT_EQ(model.trash().batches().front().label(), "Uninstall Sketchbook");

  model.undo(outcome.batch);
  ASSERT_TRUE(eventually([&] { return pathExists(sketch + "/Contents/Info.plist") && !model.trash().isTrashing(); }));
  EXPECT_TRUE(pathExists(chosen[0].path + "/cache.db"));
}

TEST_F(AppsHome, FlatpakAppsComeWithTheirOwnCommandAndRemovedOnesLeaveTheirData) {
  script(home / "bin/flatpak",
         "[ \"$1 $2\" = 'list --app' ] || exit 2\nprintf 'org.gimp.GIMP\\tGIMP\\t2.10\\t1.2 GB\\n'");
  const std::string gone = home / ".var/app/org.example.Old";
  tallyfin::testing::writeFile(gone + "/data/notes.db", 4'000);
  for (const auto& path : {gone + "/data/notes.db", gone + "/data", gone}) {
    tallyfin::testing::setModified(path, static_cast<int64_t>(std::time(nullptr)) - 30 * kDay);
  }
  tallyfin::testing::makeFolder(home / ".var/app/org.gimp.GIMP");  // installed: its data is no leftover
  AppModel model{withFlatpak()};
  model.tools().load(Tool::apps);
  ASSERT_TRUE(loaded(model, Tool::apps));
  const auto& inventory = model.tools().apps->inventory;
  ASSERT_TRUE(inventory.flatpak.has_value());
  ASSERT_EQ(inventory.flatpak->size(), 1u);
  EXPECT_EQ((*inventory.flatpak)[0].size, 1'200'000'000);
  EXPECT_EQ((*inventory.flatpak)[0].command(), "flatpak uninstall --delete-data org.gimp.GIMP");
  ASSERT_EQ(inventory.removed.size(), 1u);
  EXPECT_EQ(inventory.removed[0].bundleID, "org.example.Old");

  model.removeLeftovers({{inventory.removed[0], inventory.removed[0].leftovers}});
  const TrashOutcome& outcome = moved(model);
  ASSERT_EQ(outcome.moved.size(), 1u);
  EXPECT_FALSE(pathExists(gone));
  EXPECT_EQ(model.trash().batches().front().label(), "Leftovers of " + inventory.removed[0].displayName());
}

TEST(DockerTools, EachStateOfDockerAsARealChildProcessReportsIt) {
  AppHome home;
  const auto probe = [&](std::vector<std::string> places) {
    AppEnvironment environment = home.environment();
    environment.dockerPlaces = std::move(places);
    AppModel model{std::move(environment)};
    model.tools().load(Tool::docker);
    EXPECT_TRUE(loaded(model, Tool::docker));
    return *model.tools().docker;
  };
  tallyfin::testing::sparseFile(home / ".docker/desktop/vms/0/data/Docker.raw", 64'000'000);

  const DockerReport missing = probe({home / "nowhere/docker"});
  EXPECT_EQ(missing.status(), DockerProbe::kNotInstalled);
  ASSERT_EQ(missing.disks.size(), 1u);  // the engine's disk file is on the disk all the same
  EXPECT_EQ(missing.disks[0].logical, 64'000'000);

  script(home / "bin/docker", "echo 'Cannot connect to the Docker daemon' >&2\nexit 1");
  const DockerReport stopped = probe({home / "bin/docker"});
  EXPECT_EQ(stopped.cli, home / "bin/docker");
  EXPECT_EQ(stopped.status(), DockerProbe::kNotRunning);
  EXPECT_TRUE(stopped.usage.empty());

  script(home / "bin/docker",
         "[ \"$1 $2 $3 $4\" = 'system df --format {{json .}}' ] || exit 2\n"
         "echo '{\"Type\":\"Images\",\"TotalCount\":\"5\",\"Active\":\"2\",\"Size\":\"3.5GB\","
         "\"Reclaimable\":\"1.2GB (34%)\"}'\n"
         "echo '{\"Type\":\"Build Cache\",\"TotalCount\":\"12\",\"Active\":\"0\",\"Size\":\"800MB\","
         "\"Reclaimable\":\"800MB\"}'");
  const DockerReport running = probe({home / "nowhere/docker", home / "bin/docker"});
  EXPECT_EQ(running.status(), DockerProbe::kRunning);
  ASSERT_EQ(running.usage.size(), 2u);
  EXPECT_EQ(running.usage[0], (DockerReport::Usage{"Images", 5, 2, 3'500'000'000, 1'200'000'000}));
  EXPECT_EQ(running.usage[1].reclaimable, 800'000'000);
}

TEST(ToolResultsOfTheModel, ANewReportEmptiesThemAndAResultLateForItIsDropped) {
  AppHome home;
  AppModel model{home.environment()};
  model.tools().load(Tool::systemData);  // no report: nothing to break down
  EXPECT_FALSE(model.tools().isLoading(Tool::systemData));
  model.tools().load(Tool::docker);
  ASSERT_TRUE(loaded(model, Tool::docker));
  EXPECT_TRUE(model.tools().docker.has_value());
  ASSERT_TRUE(model.tools().madeAt(Tool::docker).has_value());

  model.scanner().load();
  model.scanner().scan();
  ASSERT_TRUE(eventually([&] { return model.scanner().report() != nullptr && !model.scanner().isScanning(); }));
  EXPECT_FALSE(model.tools().docker.has_value());
  EXPECT_FALSE(model.tools().madeAt(Tool::docker).has_value());

  model.tools().load(Tool::systemData);
  model.tools().load(Tool::apps);
  model.tools().reset();  // what a newer report does while they run
  EXPECT_FALSE(model.tools().isLoading(Tool::systemData));
  EXPECT_FALSE(model.tools().isLoading(Tool::apps));
  model.tools().loadIfNeeded(Tool::systemData);
  ASSERT_TRUE(loaded(model, Tool::systemData));
  ASSERT_TRUE(model.tools().systemData.has_value());
  EXPECT_FALSE(model.tools().systemData->empty());
  EXPECT_FALSE(model.tools().apps.has_value());  // its load belonged to the report before
}

// Weights of one model in LM Studio and in the Hugging Face cache, and one in Ollama's store.
TEST(ModelTools, WeightsStoredTwiceAreFoundAndOnlyModelsOutsideOllamaMove) {
  AppHome home;
  const std::string lmStudio = home / ".lmstudio/models/acme/Coder-7B-GGUF";
  tallyfin::testing::patternFile(lmStudio + "/coder-7b-Q4_K_M.gguf", 60 * MiB, 3);
  tallyfin::testing::patternFile(
      home / ".cache/huggingface/hub/models--acme--Coder-7B-GGUF/snapshots/abc/coder-7b-Q4_K_M.gguf", 60 * MiB, 3);
  const std::string digest = std::string(64, 'a');
  tallyfin::testing::allocateFile(home / (".ollama/models/blobs/sha256-" + digest), 60 * MiB);
  tallyfin::testing::writeText(home / ".ollama/models/manifests/registry.ollama.ai/library/llama3/8b",
                               "{\"layers\":[{\"digest\":\"sha256:" + digest + "\",\"size\":62914560}]}");
  AppModel model{home.environment()};
  model.tools().load(Tool::aiModels);
  ASSERT_TRUE(loaded(model, Tool::aiModels));
  const auto& inventory = *model.tools().aiModels;
  ASSERT_EQ(inventory.models.size(), 3u);
  ASSERT_EQ(inventory.duplicates.size(), 1u);
  EXPECT_EQ(inventory.duplicates[0].copies.size(), 2u);
  EXPECT_GT(inventory.duplicates[0].wasted, 0);

  const auto named = [&](AIModel::Source source) {
    return *std::find_if(inventory.models.begin(), inventory.models.end(),
                         [&](const AIModel& m) { return m.source == source; });
  };
  model.trashModel(named(AIModel::Source::ollama));
  EXPECT_EQ(*model.notice(), "llama3:8b is kept in Ollama's own store \u2014 remove it with `ollama rm llama3:8b`.");
  EXPECT_TRUE(pathExists(home / (".ollama/models/blobs/sha256-" + digest)));

  model.trashModel(named(AIModel::Source::lmStudio));
  const TrashOutcome& outcome = moved(model);
  ASSERT_EQ(outcome.moved.size(), 1u);
  EXPECT_FALSE(pathExists(lmStudio));
  EXPECT_TRUE(model.trash().movedSince(*model.tools().madeAt(Tool::aiModels)).contains(lmStudio));
}

}  // namespace
}  // namespace tallyfin::app
