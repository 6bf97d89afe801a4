#pragma once

// What Docker holds, asked of Docker itself, and the virtual-machine disk files
// its engines keep on the host. Nothing is ever cleaned here: the report offers
// Docker's own commands to copy.

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfin {

struct DockerReport {
  struct Usage {
    std::string type;  // Images, Containers, Local Volumes, Build Cache
    int64_t count = 0;
    int64_t active = 0;
    int64_t size = 0;
    int64_t reclaimable = 0;
    bool operator==(const Usage&) const = default;
  };
  struct VMDisk {
    std::string name;
    std::string path;
    int64_t logical = 0;    // the file's size
    int64_t allocated = 0;  // blocks really used on disk
    std::optional<std::string> shrinkCommand;
  };

  std::optional<std::string> cli;
  bool running = false;
  std::vector<Usage> usage;
  std::vector<VMDisk> disks;

  // "Docker isn't installed …", "Docker isn't running …" or "Docker is running."
  std::string status() const;
};

struct DockerCommand {
  const char* title;
  const char* command;
  const char* explanation;
};

namespace DockerProbe {

inline constexpr double kTimeoutSeconds = 15;
inline constexpr const char* kNotInstalled = "Docker isn't installed (no docker command found).";
inline constexpr const char* kNotRunning =
    "Docker isn't running — start Docker Desktop or `colima start` to see image and volume sizes.";
inline constexpr const char* kRunning = "Docker is running.";
// Pruning inside Docker frees space inside the disk file; the file itself shrinks later.
inline constexpr const char* kShrinkNote = "The disk file shrinks only after a trim.";

// The clean-up commands offered, in order.
extern const std::array<DockerCommand, 5> kCommands;

// Where a docker command is looked for, in order; nothing else (no PATH) is searched.
std::vector<std::string> cliPaths(const std::string& home);

// The lines of `docker system df --format '{{json .}}'`.
std::vector<DockerReport::Usage> usage(std::string_view jsonLines);

std::vector<DockerReport::VMDisk> vmDisks(const std::string& home);

DockerReport collect(const std::string& home, double timeoutSeconds = kTimeoutSeconds);
// The same with the docker command already chosen (none: not installed).
DockerReport collect(const std::string& home, const std::optional<std::string>& cli, double timeoutSeconds);

}  // namespace DockerProbe
}  // namespace tallyfin
