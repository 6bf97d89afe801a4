#include "kit/tools/system_data.h"

#include <unistd.h>

#include "kit/base/saturating.h"
#include "kit/base/text.h"
#include "kit/platform/system_memory.h"
#include "kit/platform/probe_environment.h"
#include "kit/platform/spawned.h"

namespace tallyfin {
namespace {

using Part = SystemDataPart;
using Kind = SystemDataPart::ActionKind;

// The saved sizes of the folders. A folder the saved tree does not hold was too
// small to keep (or absent) and adds nothing.
int64_t sizeOf(const ScanReport& report, const std::vector<std::string>& folders) {
  int64_t total = 0;
  for (const auto& folder : folders) {
    if (const DiskNode* node = report.tree.node(folder)) total = saturatingAdd(total, node->size);
  }
  return total;
}

Part::Action command(std::string text) { return {Kind::command, std::move(text), std::nullopt}; }
Part::Action manual(std::string text) { return {Kind::manual, std::move(text), std::nullopt}; }
Part::Action cleanup(CleanupCategory category) { return {Kind::cleanup, {}, category}; }
Part::Action automatic() { return {Kind::automatic, {}, std::nullopt}; }

}  // namespace

namespace SystemDataScanner {

int countSnapshots(std::string_view output) {
  int count = 0;
  for (const auto line : splitOn(output, '\n')) {
    if (line.find("com.apple.TimeMachine.") != std::string_view::npos) ++count;
  }
  return count;
}

std::optional<int> localSnapshotCount(const std::string& home, const std::string& tmutil, double timeoutSeconds) {
  if (::access(tmutil.c_str(), X_OK) != 0) return std::nullopt;
  const auto run = runTool(tmutil, {"listlocalsnapshots", "/"}, probeEnvironment(home), timeoutSeconds);
  if (!run.succeeded()) return std::nullopt;
  return countSnapshots(run.output);
}

std::vector<SystemDataPart> parts(const ScanReport& report, const std::string& home,
                                  std::optional<int> snapshotCount, std::optional<int64_t> swapUsed) {
  const std::string library = home + "/Library";
  std::vector<Part> list;
  list.push_back({"system", "macOS", "The sealed, read-only system volume. Nothing to clean — it is what macOS needs to run.",
                  "apple.logo", std::nullopt, std::nullopt, {}, std::nullopt});
  list.push_back({"purgeable", "Purgeable space",
                  "Space macOS can reclaim on demand: iCloud files kept offline, caches and local snapshots. It's "
                  "counted as used but frees itself when needed.",
                  "icloud.and.arrow.down", report.disk.purgeable(), std::nullopt, automatic(), std::nullopt});
  // With no snapshots there is nothing to explain; an unknown count still shows the part.
  if (snapshotCount != 0) {
    list.push_back({"snapshots", "Local Time Machine snapshots",
                    "Hourly snapshots Time Machine keeps on this disk while the backup drive is away. macOS deletes "
                    "them as space runs low; you can thin them now.",
                    "clock.arrow.circlepath", std::nullopt, " — size is part of Purgeable",
                    command("tmutil thinlocalsnapshots / 999999999999 4"), snapshotCount});
  }
  list.push_back({"swap", "Virtual memory (swap)",
                  "Memory macOS moved to disk because RAM was full. It shrinks after a restart, or when you quit "
                  "memory-hungry apps.",
                  "memorychip", swapUsed, std::nullopt, manual("Restart the Mac to reset it"), std::nullopt});
  list.push_back({"simulators", "Simulator runtimes",
                  "iOS, watchOS and visionOS Simulator system images downloaded by Xcode. Often 8–10 GB each.",
                  "iphone", sizeOf(report, {"/Library/Developer/CoreSimulator"}), std::nullopt,
                  cleanup(CleanupCategory::simulators), std::nullopt});
  list.push_back({"assets", "Downloaded system assets",
                  "Fonts, voices, Apple Intelligence and dictionary data macOS downloads as needed. Managed by macOS.",
                  "arrow.down.circle", sizeOf(report, {"/System/Library/AssetsV2"}), std::nullopt, automatic(),
                  std::nullopt});
  list.push_back({"caches", "Caches and temporary files",
                  "App and system caches plus per-user temporary files. They rebuild themselves.", "archivebox",
                  sizeOf(report, {library + "/Caches", "/private/var/folders"}), std::nullopt,
                  cleanup(CleanupCategory::appCaches), std::nullopt});
  list.push_back({"logs", "Logs and diagnostics", "Logs, crash reports and diagnostic data.", "doc.text",
                  sizeOf(report, {library + "/Logs", "/private/var/log", "/private/var/db/diagnostics"}),
                  std::nullopt, cleanup(CleanupCategory::logs), std::nullopt});
  list.push_back({"appData", "App data in your Library",
                  "Settings, databases and downloads apps keep in ~/Library (Application Support, Containers, Group "
                  "Containers). The biggest share of System Data on most Macs — explore it on the Disk Map.",
                  "folder.badge.gearshape",
                  sizeOf(report, {library + "/Application Support", library + "/Containers",
                                  library + "/Group Containers"}),
                  std::nullopt, manual("Explore ~/Library on the Disk Map"), std::nullopt});
  list.push_back({"backups", "iPhone and iPad backups",
                  "Local device backups made by Finder. Delete old ones in Finder › your device › Manage Backups.",
                  "iphone.and.arrow.forward", sizeOf(report, {library + "/Application Support/MobileSync/Backup"}),
                  std::nullopt, manual("Finder › device › Manage Backups"), std::nullopt});
  list.push_back({"vmDisks", "Virtual machine disks",
                  "Docker, Colima, OrbStack, Podman, Android emulators and other VMs store whole disks as single "
                  "big files.",
                  "externaldrive",
                  sizeOf(report, {library + "/Containers/com.docker.docker", home + "/.colima",
                                  library + "/Group Containers/HUAQ24HBR6.dev.orbstack/data",
                                  home + "/.local/share/containers/podman/machine", home + "/.android/avd",
                                  library + "/Application Support/Claude/vm_bundles"}),
                  std::nullopt, cleanup(CleanupCategory::containers), std::nullopt});
  return list;
}

std::vector<SystemDataPart> linuxParts(const ScanReport& report, std::optional<int64_t> swapUsed) {
  std::vector<Part> list;
  list.push_back({"packageCaches", "Package caches",
                  "Packages apt downloaded to install or update software. Installed programs don't need them.",
                  "shippingbox", sizeOf(report, {"/var/cache/apt"}), std::nullopt, command("sudo apt-get clean"),
                  std::nullopt});
  list.push_back({"logs", "System journal and logs",
                  "The systemd journal and the log files of system services. The journal keeps growing up to its "
                  "limit; you can shrink it now.",
                  "doc.text", sizeOf(report, {"/var/log"}), std::nullopt,
                  command("sudo journalctl --vacuum-size=500M"), std::nullopt});
  list.push_back({"snap", "Snap packages",
                  "Snap apps with the older revisions Snap keeps of each. Keeping two instead of three frees the "
                  "oldest.",
                  "square.stack.3d.up", sizeOf(report, {"/var/lib/snapd"}), std::nullopt,
                  command("sudo snap set system refresh.retain=2"), std::nullopt});
  list.push_back({"flatpak", "Flatpak apps and runtimes",
                  "Flatpak apps and the runtimes they share. Runtimes no app uses any more can go.",
                  "square.stack.3d.down.right", sizeOf(report, {"/var/lib/flatpak"}), std::nullopt,
                  command("flatpak uninstall --unused"), std::nullopt});
  list.push_back({"docker", "Docker data",
                  "Images, containers, volumes and build cache of the Docker engine. Docker cleans them itself "
                  "when asked.",
                  "externaldrive", sizeOf(report, {"/var/lib/docker"}), std::nullopt, command("docker system prune"),
                  std::nullopt});
  list.push_back({"coredumps", "Crash dumps",
                  "Memory images of programs that crashed, kept for debugging. Old ones are rarely needed.",
                  "exclamationmark.triangle", sizeOf(report, {"/var/lib/systemd/coredump"}), std::nullopt,
                  command("sudo rm -f /var/lib/systemd/coredump/core.*"), std::nullopt});
  list.push_back({"swap", "Virtual memory (swap)",
                  "Memory moved to disk because RAM was full. It shrinks when memory-hungry programs quit, or after "
                  "a restart.",
                  "memorychip", swapUsed, std::nullopt, manual("Restart, or quit memory-hungry programs"),
                  std::nullopt});
  list.push_back({"temporary", "Temporary files",
                  "Files programs left in /tmp and /var/tmp. The system clears them at restart or after some days.",
                  "clock", sizeOf(report, {"/tmp", "/var/tmp"}), std::nullopt, automatic(), std::nullopt});
  list.push_back({"system", "The system itself",
                  "Programs, libraries and data installed in /usr. Nothing to clean — remove software you don't "
                  "use with the package manager instead.",
                  "gearshape", sizeOf(report, {"/usr"}), std::nullopt, {}, std::nullopt});
  return list;
}

std::vector<SystemDataPart> forThisSystem(const ScanReport& report, const std::string& home) {
  if (platform::systemFamily() == platform::SystemFamily::linux) return linuxParts(report, platform::swapUsed());
  return parts(report, home, localSnapshotCount(home), platform::swapUsed());
}

}  // namespace SystemDataScanner
}  // namespace tallyfin
