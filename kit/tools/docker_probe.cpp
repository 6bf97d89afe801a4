#include "kit/tools/docker_probe.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <sstream>

#include <nlohmann/json.hpp>

#include "kit/base/decimal_size.h"
#include "kit/base/paths.h"
#include "kit/base/subfolders.h"
#include "kit/platform/probe_environment.h"
#include "kit/platform/spawned.h"

namespace tallyfin {
namespace {

namespace fs = std::filesystem;

std::optional<DockerReport::VMDisk> diskFile(std::string name, const std::string& path,
                                             std::optional<std::string> shrinkCommand) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) return std::nullopt;
  return DockerReport::VMDisk{std::move(name), path, info.st_size, static_cast<int64_t>(info.st_blocks) * 512,
                              std::move(shrinkCommand)};
}

int64_t integerField(const nlohmann::json& line, const char* key) {
  if (!line.contains(key)) return 0;
  const auto& value = line[key];
  if (value.is_number_integer()) return value.get<int64_t>();
  if (value.is_string()) {
    try {
      return std::stoll(value.get<std::string>());
    } catch (const std::exception&) {
      return 0;
    }
  }
  return 0;
}

}  // namespace

const std::array<DockerCommand, 5> DockerProbe::kCommands = {{
    {"Stopped containers", "docker container prune", "Removes containers that aren't running."},
    {"Build cache", "docker builder prune", "Cached build layers; rebuilt on the next build."},
    {"Unused images", "docker image prune -a", "Images no container uses. Pulled again when needed."},
    {"Unused volumes", "docker volume prune", "\u26a0\ufe0e Volumes can hold databases \u2014 only if you're sure."},
    {"Podman: unused images and containers", "podman system prune -a",
     "The same clean-up for Podman. Volumes are kept."},
}};

std::string DockerReport::status() const {
  if (!cli) return DockerProbe::kNotInstalled;
  return running ? DockerProbe::kRunning : DockerProbe::kNotRunning;
}

namespace DockerProbe {

std::vector<std::string> cliPaths(const std::string& home) {
  return {"/opt/homebrew/bin/docker",
          "/usr/local/bin/docker",
          "/Applications/Docker.app/Contents/Resources/bin/docker",
          home + "/.orbstack/bin/docker",
          "/Applications/OrbStack.app/Contents/MacOS/xbin/docker",
          "/usr/bin/docker"};
}

std::vector<DockerReport::Usage> usage(std::string_view jsonLines) {
  std::vector<DockerReport::Usage> rows;
  std::istringstream lines{std::string(jsonLines)};
  for (std::string line; std::getline(lines, line);) {
    const auto json = nlohmann::json::parse(line, nullptr, false);
    if (!json.is_object() || !json.contains("Type") || !json["Type"].is_string()) continue;
    const auto size = [&](const char* key) {
      return json.contains(key) && json[key].is_string() ? decimalBytes(json[key].get<std::string>()) : 0;
    };
    rows.push_back({json["Type"].get<std::string>(), integerField(json, "TotalCount"), integerField(json, "Active"),
                    size("Size"), size("Reclaimable")});
  }
  return rows;
}

std::vector<DockerReport::VMDisk> vmDisks(const std::string& home) {
  std::vector<DockerReport::VMDisk> disks;
  const auto add = [&](std::optional<DockerReport::VMDisk> disk) {
    if (disk) disks.push_back(std::move(*disk));
  };
  const std::string colimaTrim = "colima ssh -- sudo fstrim -a";
  for (const auto& instance : sortedSubfolders(home + "/.colima/_lima")) {
    const std::string name(lastComponent(instance));
    if (name != "colima" && !name.starts_with("colima-")) continue;
    const std::string profile = name == "colima" ? "default" : name.substr(7);
    add(diskFile("Colima VM (" + profile + ")", instance + "/diffdisk", colimaTrim));
  }
  for (const auto& data : sortedSubfolders(home + "/.colima/_lima/_disks")) {
    add(diskFile("Colima data (" + std::string(lastComponent(data)) + ")", data + "/datadisk", colimaTrim));
  }
  const std::string desktopReclaim = "docker run --privileged --pid=host docker/desktop-reclaim-space";
  add(diskFile("Docker Desktop", home + "/Library/Containers/com.docker.docker/Data/vms/0/data/Docker.raw",
               desktopReclaim));
  add(diskFile("Docker Desktop", home + "/.docker/desktop/vms/0/data/Docker.raw", desktopReclaim));
  add(diskFile("OrbStack", home + "/Library/Group Containers/HUAQ24HBR6.dev.orbstack/data/data.img", std::nullopt));
  std::error_code error;
  const std::string podman = home + "/.local/share/containers/podman/machine";
  for (fs::recursive_directory_iterator it(podman, error), end; !error && it != end; it.increment(error)) {
    const std::string file = it->path().filename().string();
    if (!endsWith(file, ".raw")) continue;
    std::string machine = file.substr(0, file.size() - 4);
    for (const char* architecture : {"-arm64", "-amd64"}) {
      if (endsWith(machine, architecture)) machine.resize(machine.size() - 6);
    }
    add(diskFile("Podman machine (" + machine + ")", it->path().string(),
                 "podman machine ssh " + machine + " sudo fstrim -a"));
  }
  return disks;
}

DockerReport collect(const std::string& home, double timeoutSeconds) {
  return collect(home, firstExecutable(cliPaths(home)), timeoutSeconds);
}

DockerReport collect(const std::string& home, const std::optional<std::string>& cli, double timeoutSeconds) {
  DockerReport report;
  report.disks = vmDisks(home);
  report.cli = cli;
  if (!report.cli) return report;
  const auto run = runTool(*report.cli, {"system", "df", "--format", "{{json .}}"},
                           probeEnvironment(home, std::string(parentPath(*report.cli))), timeoutSeconds);
  report.running = run.succeeded();
  if (report.running) report.usage = usage(run.output);
  return report;
}

}  // namespace DockerProbe
}  // namespace tallyfin
