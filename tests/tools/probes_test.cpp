// The tool probes run real child processes: small shell scripts in the test's
// temp folder stand in for docker and xcrun.

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <limits>
#include <thread>

#include "kit/store/format.h"
#include "kit/tools/docker_probe.h"
#include "kit/tools/flatpak_apps.h"
#include "kit/platform/probe_environment.h"
#include "kit/platform/spawned.h"
#include "kit/tools/tool_probe.h"
#include "tests/support/file_content.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using testing::TempFolder;

void script(const std::string& path, const std::string& body) {
  testing::makeFolder(path.substr(0, path.rfind('/')));
  std::ofstream(path) << "#!/bin/sh\n" << body << "\n";
  testing::setMode(path, 0755);
}

// Gone, or a zombie waiting for init: either way it runs no more.
bool stopped(pid_t pid) {
  for (int i = 0; i < 100; ++i) {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string pidText, name, state;
    if (!(stat >> pidText >> name >> state) || state == "Z") return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  return false;
}

TEST(Spawned, RunsWithExactlyTheGivenEnvironmentAndNoInput) {
  const auto env = runTool("/usr/bin/env", {}, {"ONLY=this"}, 5);
  EXPECT_EQ(env.output, "ONLY=this\n");
  EXPECT_TRUE(env.succeeded());
  const auto cat = runTool("/bin/cat", {}, {}, 5);  // stdin is /dev/null: ends at once
  EXPECT_TRUE(cat.succeeded());
  EXPECT_EQ(cat.output, "");
  EXPECT_EQ(runTool("/bin/sh", {"-c", "exit 3"}, {}, 5).status, 3);
  EXPECT_FALSE(Spawned::start("/nonexistent/tool", {}, {}).has_value());
}

TEST(Spawned, AChildThatNeverAnswersIsKilledAndReaped) {
  auto child = Spawned::start("/bin/sh", {"-c", "sleep 1000 & echo $!; wait"}, {});
  ASSERT_TRUE(child.has_value());
  const pid_t pid = child->pid();
  const auto output = child->readAll(0.5);
  EXPECT_TRUE(output.timedOut);
  const pid_t grandchild = std::stoi(output.bytes);
  EXPECT_FALSE(child->finish(true).has_value());
  EXPECT_EQ(::waitpid(pid, nullptr, WNOHANG), -1);  // already reaped: no zombie left
  EXPECT_EQ(errno, ECHILD);
  EXPECT_TRUE(stopped(grandchild));  // what it started went with it
}

TEST(Spawned, OutputStopsAtTheCap) {
  auto child = Spawned::start("/usr/bin/yes", {}, {});
  ASSERT_TRUE(child.has_value());
  const auto output = child->readAll(5, 1000);
  EXPECT_EQ(output.bytes.size(), 1000u);
  EXPECT_FALSE(output.timedOut);
  child->finish(true);
}

TEST(DockerProbe, ReadsSystemDfLines) {
  const auto rows = DockerProbe::usage(
      R"j({"Active":"2","Reclaimable":"1.2GB (40%)","Size":"3GB","TotalCount":"5","Type":"Images"})j"
      "\n"
      R"j({"Active":"0","Reclaimable":"0B","Size":"0B","TotalCount":"0","Type":"Build Cache"})j"
      "\nnot json\n");
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0], (DockerReport::Usage{"Images", 5, 2, 3'000'000'000, 1'200'000'000}));
  EXPECT_EQ(rows[1].type, "Build Cache");
}

TEST(DockerProbe, FindsDockerOnlyInItsKnownPlaces) {
  TempFolder home;
  const auto places = DockerProbe::cliPaths(home.path());
  EXPECT_EQ(places.front(), "/opt/homebrew/bin/docker");
  EXPECT_NE(std::find(places.begin(), places.end(), home / ".orbstack/bin/docker"), places.end());
  EXPECT_NE(std::find(places.begin(), places.end(), "/usr/bin/docker"), places.end());

  // A docker anywhere else in home is never chosen.
  script(home / "bin/docker", "exit 0");
  EXPECT_NE(firstExecutable(places), home / "bin/docker");
  const auto missing = DockerProbe::collect(home.path(), std::nullopt, 5);
  EXPECT_EQ(missing.status(), DockerProbe::kNotInstalled);

  script(home / ".orbstack/bin/docker",
         "env > " + home / "env.txt" + "\n"
         R"j(echo '{"Active":"1","Reclaimable":"0B","Size":"2.5GB (45%)","TotalCount":"1","Type":"Local Volumes"}')j");
  const auto found = firstExecutable({home / "nothing/docker", home / ".orbstack/bin/docker"});
  EXPECT_EQ(found, home / ".orbstack/bin/docker");
  const auto report = DockerProbe::collect(home.path(), found, 5);
  EXPECT_TRUE(report.running);
  EXPECT_EQ(report.status(), DockerProbe::kRunning);
  ASSERT_EQ(report.usage.size(), 1u);
  EXPECT_EQ(report.usage[0].size, 2'500'000'000);
  std::ifstream env(home / "env.txt");
  const std::string seen((std::istreambuf_iterator<char>(env)), std::istreambuf_iterator<char>());
  EXPECT_NE(seen.find("PATH=" + home / ".orbstack/bin" + ":/usr/bin:/bin:/usr/sbin:/sbin\n"), std::string::npos);
  EXPECT_NE(seen.find("HOME=" + home.path() + "\n"), std::string::npos);
  EXPECT_NE(seen.find("LANG=en_US.UTF-8\n"), std::string::npos);

  script(home / ".orbstack/bin/docker", "sleep 1000");
  const auto hung = DockerProbe::collect(home.path(), found, 0.5);
  EXPECT_FALSE(hung.running);
  EXPECT_EQ(hung.status(), DockerProbe::kNotRunning);
}

TEST(DockerProbe, VirtualMachineDisksWithBothSizes) {
  TempFolder home;
  const std::string desktop = home / ".docker/desktop/vms/0/data/Docker.raw";
  testing::allocateFile(desktop, 12 << 20);
  std::filesystem::resize_file(desktop, 64LL << 30);
  testing::allocateFile(home / ".colima/_lima/colima/diffdisk", 4096);
  testing::allocateFile(home / ".colima/_lima/colima-work/diffdisk", 4096);
  testing::allocateFile(home / ".colima/_lima/other/diffdisk", 4096);
  testing::allocateFile(home / ".colima/_lima/_disks/pg/datadisk", 4096);
  testing::allocateFile(home / ".local/share/containers/podman/machine/qemu/podman-machine-default-arm64.raw", 4096);

  std::vector<std::string> names;
  for (const auto& disk : DockerProbe::vmDisks(home.path())) {
    names.push_back(disk.name);
    if (disk.name == "Docker Desktop") {
      EXPECT_EQ(disk.logical, 64LL << 30);
      EXPECT_EQ(disk.allocated, testing::allocatedBytes(desktop));
      EXPECT_LT(disk.allocated, 64LL << 20);
    }
  }
  EXPECT_EQ(names, (std::vector<std::string>{"Colima VM (default)", "Colima VM (work)", "Colima data (pg)",
                                             "Docker Desktop", "Podman machine (podman-machine-default)"}));
}

TEST(ToolProbe, ReadsSimctlOutput) {
  const auto devices = ToolProbe::simulatorDevices(R"({"devices": {
    "com.apple.CoreSimulator.SimRuntime.iOS-17-4": [
      {"udid": "A1", "name": "iPhone 15", "isAvailable": true, "lastBootedAt": "2024-05-01T10:20:30Z",
       "state": "Shutdown"},
      {"udid": "A2", "name": "iPad Air", "isAvailable": false}],
    "com.apple.CoreSimulator.SimRuntime.watchOS-10-2": []}})");
  ASSERT_EQ(devices.size(), 2u);
  EXPECT_EQ(devices[0], (SimulatorDevice{"A1", "iPhone 15", "com.apple.CoreSimulator.SimRuntime.iOS-17-4", true,
                                         1'714'558'830}));
  EXPECT_FALSE(devices[1].isAvailable);
  EXPECT_FALSE(devices[1].lastBooted.has_value());

  const auto runtimes = ToolProbe::simulatorRuntimes(R"({
    "0D1B": {"identifier": "0D1B", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.iOS-17-4",
             "version": "17.4", "path": "/Library/Developer/CoreSimulator/Volumes/iOS_21E213",
             "sizeBytes": 7300000000, "lastUsedAt": "2024-06-01T08:00:00.123+02:00"},
    "9F2C": {"identifier": "9F2C", "runtimeIdentifier": "com.apple.CoreSimulator.SimRuntime.xrOS-1-0",
             "version": "1.0", "path": "/x", "sizeBytes": 9000000000}})");
  ASSERT_EQ(runtimes.size(), 2u);
  EXPECT_EQ(runtimes[0].identifier, "9F2C");  // biggest first
  EXPECT_EQ(runtimes[1].name, "iOS 17.4");
  EXPECT_EQ(runtimes[1].lastUsed, 1'717'221'600);
  EXPECT_TRUE(ToolProbe::simulatorDevices("<html>").empty());
}

TEST(ToolProbe, CollectsFromXcrunWhenItExistsAndGivesUpOnAHang) {
  TempFolder home;
  const std::string xcrun = home / "xcrun";
  script(xcrun, R"(case "$2" in list) echo '{"devices":{"rt":[{"udid":"U","name":"n","isAvailable":true}]}}';;
  runtime) echo '{}';; esac)");
  const auto snapshot = ToolProbe::collect(home.path(), xcrun, 5);
  ASSERT_EQ(snapshot.devices.size(), 1u);
  EXPECT_EQ(snapshot.devices[0].udid, "U");
  EXPECT_FALSE(snapshot.problem.has_value());

  script(xcrun, "sleep 1000");
  const auto hung = ToolProbe::collect(home.path(), xcrun, 0.3);
  EXPECT_TRUE(hung.devices.empty());
  EXPECT_EQ(hung.problem, std::string(kToolsTooSlowMessage));
  EXPECT_TRUE(ToolProbe::collect(home.path(), home / "missing-xcrun", 5).devices.empty());
}

TEST(ToolProbe, OllamaModelsCountEveryLayer) {
  TempFolder home;
  const std::string manifest = home / ".ollama/models/manifests/registry.ollama.ai/library/phi3/mini";
  testing::makeFolder(manifest.substr(0, manifest.rfind('/')));
  std::ofstream(manifest) << R"({"layers":[{"digest":"sha256:aa","size":2000000000},)"
                          << R"({"digest":"sha256:bb","size":1000},{"digest":"sha256:cc","size":-4}]})";
  const auto models = ToolProbe::ollamaModels(home.path());
  ASSERT_EQ(models.size(), 1u);
  EXPECT_EQ(models[0].name, "phi3:mini");
  EXPECT_EQ(models[0].size, 2'000'001'000);
  EXPECT_GT(models[0].modified, 0);
}

TEST(IsoDates, ZonesAndFractions) {
  EXPECT_EQ(Format::parseIsoDate("1970-01-01T00:00:00Z"), 0);
  EXPECT_EQ(Format::parseIsoDate("2024-05-01T10:20:30.999Z"), 1'714'558'830);
  EXPECT_EQ(Format::parseIsoDate("2024-05-01T12:20:30+02:00"), 1'714'558'830);
  EXPECT_EQ(Format::parseIsoDate("2024-05-01T05:20:30-05:00"), 1'714'558'830);
  EXPECT_FALSE(Format::parseIsoDate("2024-05-01 10:20:30").has_value());
  EXPECT_FALSE(Format::parseIsoDate("2024-05-01T10:20:30").has_value());
  EXPECT_EQ(Format::isoDate(1'714'558'830), "2024-05-01T10:20:30Z");
}

TEST(Flatpak, ReadsTheListAndOffersItsOwnCommand) {
  const auto apps = Flatpak::parseList(
      "org.gimp.GIMP\tGNU Image Manipulation Program\t2.10.38\t1.2\u00a0GB\n"
      "com.example.Bare\t\t\t\n"
      "\n");
  ASSERT_EQ(apps.size(), 2u);
  EXPECT_EQ(apps[0].name, "GNU Image Manipulation Program");
  EXPECT_EQ(apps[0].version, "2.10.38");
  EXPECT_EQ(apps[0].size, 1'200'000'000);
  EXPECT_EQ(apps[0].command(), "flatpak uninstall --delete-data org.gimp.GIMP");
  EXPECT_EQ(apps[1].name, "com.example.Bare");
  EXPECT_EQ(apps[1].version, std::nullopt);
  EXPECT_EQ(apps[1].size, 0);
}

TEST(Flatpak, AsksTheCommandAndGivesNothingWhenItFails) {
  TempFolder home;
  const std::string flatpak = home / "bin/flatpak";
  script(flatpak, "[ \"$1 $2 $3\" = 'list --app --columns=application,name,version,size' ] || exit 2\n"
                  "printf 'org.gimp.GIMP\\tGIMP\\t2.10\\t300 MB\\n'");
  const auto apps = Flatpak::installed(home.path(), flatpak, 5);
  ASSERT_TRUE(apps.has_value());
  ASSERT_EQ(apps->size(), 1u);
  EXPECT_EQ((*apps)[0].size, 300'000'000);

  script(flatpak, "exit 1");
  EXPECT_EQ(Flatpak::installed(home.path(), flatpak, 5), std::nullopt);
  EXPECT_EQ(Flatpak::installed(home.path(), std::nullopt, 5), std::nullopt);
}

TEST(Flatpak, DataOfRemovedAppsIsListedAfterTwoQuietWeeks) {
  TempFolder home;
  const int64_t now = 1'800'000'000;
  for (const std::string id : {"org.gone.Game", "org.gimp.GIMP", "org.recent.Tool"}) {
    testing::writeFile(home / (".var/app/" + id + "/data/file"), 5000);
    testing::setModified(home / (".var/app/" + id + "/data/file"), now - 30 * 86'400);
    testing::setModified(home / (".var/app/" + id + "/data"), now - 30 * 86'400);
    testing::setModified(home / (".var/app/" + id), now - 30 * 86'400);
  }
  testing::setModified(home / ".var/app/org.recent.Tool/data/file", now - 10 * 86'400);
  const auto groups = Flatpak::removedAppData(home.path(), {{"org.gimp.GIMP", "GIMP", {}, 0}}, 14, now);
  ASSERT_EQ(groups.size(), 1u);
  EXPECT_EQ(groups[0].bundleID, "org.gone.Game");
  ASSERT_EQ(groups[0].leftovers.size(), 1u);
  EXPECT_EQ(groups[0].leftovers[0].path, home / ".var/app/org.gone.Game");
  EXPECT_GE(groups[0].size(), 5000);
  EXPECT_EQ(groups[0].lastModified, now - 30 * 86'400);
}

}  // namespace
}  // namespace tallyfin
