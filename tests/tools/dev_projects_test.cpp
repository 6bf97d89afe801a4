#include "kit/tools/dev_projects.h"

#include <fcntl.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/file_content.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::TempFolder;

CleanupItem clutter(const std::string& path, int64_t size, std::optional<std::string> project) {
  CleanupItem item;
  item.path = path;
  item.size = size;
  item.project = std::move(project);
  return item;
}

int64_t bytesReadSoFar() {
  std::ifstream io("/proc/self/io");
  for (std::string key; io >> key;) {
    int64_t value = 0;
    io >> value;
    if (key == "rchar:") return value;
  }
  return -1;
}

TEST(DevProjects, GroupsSuggestionsAndCountsNestedClutterOnce) {
  const auto projects = ProjectScanner::projects({
      clutter("/code/web/node_modules", 500, "/code/web"),
      clutter("/code/web/node_modules/.cache", 100, "/code/web"),  // inside the one above
      clutter("/code/web/dist", 50, "/code/web"),
      clutter("/code/api/target", 900, "/code/api"),
      clutter("/home/.npm", 7'000, std::nullopt),
  });
  ASSERT_EQ(projects.size(), 2u);
  EXPECT_EQ(projects[0].name, "api");
  EXPECT_EQ(projects[1].path, "/code/web");
  EXPECT_EQ(projects[1].clutterSize, 550);
  ASSERT_EQ(projects[1].clutter.size(), 3u);
  EXPECT_EQ(projects[1].clutter[0].path, "/code/web/dist");

  DevProject project;
  project.lastActivity = 1'000'000;
  EXPECT_TRUE(project.isStale(1'000'000 + 91 * 86'400.0, 90));
  EXPECT_FALSE(project.isStale(1'000'000 + 89 * 86'400.0, 90));
  project.lastActivity.reset();
  EXPECT_FALSE(project.isStale(1e12, 90));
}

TEST(DevProjects, HiddenClutterDropsOutAndTheSizesFollow) {
  const auto projects = ProjectScanner::projects({
      clutter("/code/web/node_modules", 500, "/code/web"),
      clutter("/code/web/node_modules/.cache", 100, "/code/web"),
      clutter("/code/web/dist", 50, "/code/web"),
      clutter("/code/api/target", 900, "/code/api"),
  });
  // Keeping the outer folder leaves the one inside it to count on its own; a kept
  // project's only clutter takes the whole project off the list.
  const auto left = ProjectScanner::remaining(projects, {{"/code/api/target", "/code/web/node_modules"}, {}});
  ASSERT_EQ(left.size(), 1u);
  EXPECT_EQ(left[0].path, "/code/web");
  EXPECT_EQ(left[0].clutterSize, 150);
  ASSERT_EQ(left[0].clutter.size(), 2u);
  EXPECT_EQ(left[0].clutter[0].path, "/code/web/dist");
  // What a moved folder held went with it.
  const auto moved = ProjectScanner::remaining(projects, {{}, {"/code/web/node_modules"}});
  ASSERT_EQ(moved.size(), 2u);
  EXPECT_EQ(moved[1].clutterSize, 50);
  EXPECT_EQ(moved[1].clutter.size(), 1u);
  const auto all = ProjectScanner::remaining(projects, {});
  ASSERT_EQ(all.size(), 2u);
  EXPECT_EQ(all[1].clutterSize, 550);
}

TEST(DevProjects, ASiblingThatSortsBetweenAFolderAndItsContentsIsNoHolder) {
  // Plain string order puts "build-cache" between "build" and "build/x": a look at
  // the previous item alone would count "build/x" a second time.
  const auto projects = ProjectScanner::projects({
      clutter("/p/build", 100, "/p"),
      clutter("/p/build-cache", 10, "/p"),
      clutter("/p/build/x", 40, "/p"),
  });
  ASSERT_EQ(projects.size(), 1u);
  EXPECT_EQ(projects[0].clutterSize, 110);
}

TEST(DevProjects, BranchNamesFromHead) {
  EXPECT_EQ(ProjectScanner::branch("ref: refs/heads/main\n"), "main");
  EXPECT_EQ(ProjectScanner::branch("ref: refs/heads/feature/login"), "feature/login");
  EXPECT_EQ(ProjectScanner::branch("ref: refs/remotes/origin/x"), "remotes/origin/x");
  EXPECT_EQ(ProjectScanner::branch("3f2a9c1d0e8b7a6f5e4d3c2b1a0f9e8d7c6b5a49\n"), "3f2a9c1");
  EXPECT_EQ(ProjectScanner::branch("ref: refs/heads/ma\x1b[31min\x07"), "ma[31min");
  EXPECT_FALSE(ProjectScanner::branch(" \n").has_value());
}

TEST(DevProjects, ALinkedWorktreeReadsItsOwnGitDirectory) {
  TempFolder dir;
  const std::string gitDir = dir / "main/.git/worktrees/wt";
  testing::writeText(gitDir + "/HEAD", "ref: refs/heads/feature\n");
  testing::writeText(gitDir + "/logs/HEAD",
            "0000 1111 Ann <ann@x> 1700000000 +0100\tcommit (initial): first\n"
            "1111 2222 Ann <ann@x> 1700000500 -0500\tcommit: second\n\n");
  testing::writeText(dir / "wt/.git", "gitdir: " + gitDir + "\n");
  testing::writeText(dir / "wt/src/main.c", "int main;");

  EXPECT_EQ(ProjectScanner::gitDirectory(dir / "wt"), gitDir);
  const auto git = ProjectScanner::git(dir / "wt", {});
  ASSERT_TRUE(git.has_value());
  EXPECT_EQ(git->branch, "feature");
  EXPECT_EQ(git->lastCommit, 1'700'000'500);
  EXPECT_FALSE(git->dirty.has_value());  // no index: can't tell, which is not "clean"

  testing::writeText(dir / "rel/.git", "gitdir: ../main/.git/worktrees/wt");
  EXPECT_EQ(ProjectScanner::gitDirectory(dir / "rel"), gitDir);
  testing::writeText(dir / "plain/.git", "not a pointer");
  EXPECT_FALSE(ProjectScanner::gitDirectory(dir / "plain").has_value());
  EXPECT_FALSE(ProjectScanner::git(dir / "nothing", {}).has_value());
}

TEST(DevProjects, ReadsOnlyTheStartOfHeadAndTheEndOfTheReflog) {
  TempFolder dir;
  const std::string gitDir = dir / "p/.git";
  testing::writeText(gitDir + "/HEAD", "ref: refs/heads/" + std::string(5'000, 'b'));
  const std::string reflog = gitDir + "/logs/HEAD";
  testing::writeText(reflog, "");
  std::filesystem::resize_file(reflog, 50'000'000);
  {
    std::ofstream append(reflog, std::ios::app | std::ios::binary);
    append << "\n1111 2222 Ann <ann@x> 1712345678 +0000\tpull: fast-forward\n";
  }
  const int64_t before = bytesReadSoFar();
  EXPECT_EQ(ProjectScanner::lastReflogTime(reflog), 1'712'345'678);
  const int64_t read = bytesReadSoFar() - before;
  EXPECT_GE(read, 4096);
  EXPECT_LT(read, 4096 + 2048);  // the rest is this check reading /proc/self/io

  const auto git = ProjectScanner::git(dir / "p", {});
  ASSERT_TRUE(git.has_value());
  EXPECT_EQ(git->branch->size(), 4096u - std::string("ref: refs/heads/").size());

  testing::writeText(dir / "empty/.git/logs/HEAD", "");
  EXPECT_FALSE(ProjectScanner::lastReflogTime(dir / "empty/.git/logs/HEAD").has_value());
  testing::writeText(dir / "junk", "no tab and no time\n");
  EXPECT_FALSE(ProjectScanner::lastReflogTime(dir / "junk").has_value());
}

TEST(DevProjects, ChangesSinceTheIndexSkipClutterAndStopAtTheLimit) {
  TempFolder dir;
  const std::string project = dir / "p";
  testing::writeText(project + "/.git/HEAD", "ref: refs/heads/main\n");
  testing::writeText(project + "/.git/index", "DIRC");
  testing::writeText(project + "/src/a.c", "a");
  testing::writeText(project + "/node_modules/x.js", "x");
  testing::setModified(project + "/.git/index", 2'000);
  testing::setModified(project + "/src/a.c", 1'000);
  testing::setModified(project + "/node_modules/x.js", 3'000);  // newer, but rebuildable clutter

  EXPECT_EQ(ProjectScanner::git(project, {project + "/node_modules"})->dirty, false);
  EXPECT_EQ(ProjectScanner::git(project, {})->dirty, true);
  testing::setModified(project + "/src/a.c", 2'500);
  EXPECT_EQ(ProjectScanner::git(project, {project + "/node_modules"})->dirty, true);

  testing::setModified(project + "/src/a.c", 1'000);
  for (int i = 0; i < 5; ++i) {
    testing::writeText(project + "/src/old" + std::to_string(i), "o");
    testing::setModified(project + "/src/old" + std::to_string(i), 1'000);
  }
  EXPECT_FALSE(ProjectScanner::git(project, {project + "/node_modules"}, 3)->dirty.has_value());

  auto projects = ProjectScanner::projects({clutter(project + "/node_modules", 10, project)});
  projects = ProjectScanner::withGit(std::move(projects));
  ASSERT_TRUE(projects[0].git.has_value());
  EXPECT_EQ(projects[0].git->branch, "main");
  EXPECT_TRUE(projects[0].lastActivity.has_value());
}

}  // namespace
}  // namespace tallyfin
