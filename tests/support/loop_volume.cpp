#include "tests/support/loop_volume.h"

#include <fcntl.h>
#include <unistd.h>

#include <vector>

#include "tests/support/process.h"
#include "tests/support/temp_folder.h"

namespace tallyfin::testing {
namespace {

// btrfs's smallest comfortable size with its default profiles.
constexpr off_t kImageBytes = 128 * 1024 * 1024;

// The system's tools by name, as a shell finds them.
ProcessResult runTool(const std::vector<std::string>& command) {
  std::vector<std::string> arguments{"-c", "exec \"$0\" \"$@\""};
  arguments.insert(arguments.end(), command.begin(), command.end());
  return runProcess("/bin/sh", arguments, {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LC_ALL=C"});
}

}  // namespace

std::unique_ptr<LoopVolume> LoopVolume::btrfs(const std::string& folder, std::string& whyNot) {
  const std::string image = folder + "/btrfs.img";
  const std::string mountPoint = folder + "/volume";
  const int fd = ::open(image.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const bool sized = fd >= 0 && ::ftruncate(fd, kImageBytes) == 0;
  if (fd >= 0) ::close(fd);
  if (!sized) {
    whyNot = "could not make the image file " + image;
    return nullptr;
  }
  if (const auto made = runTool({"mkfs.btrfs", "-q", image}); made.exitCode != 0) {
    whyNot = "mkfs.btrfs could not make a file system (is btrfs-progs installed?): " + made.err;
    return nullptr;
  }
  makeFolder(mountPoint);
  if (const auto mounted = runTool({"mount", "-o", "loop", image, mountPoint}); mounted.exitCode != 0) {
    whyNot = "loop mounts are not allowed here: " + mounted.err;
    return nullptr;
  }
  return std::unique_ptr<LoopVolume>(new LoopVolume(mountPoint));
}

LoopVolume::~LoopVolume() {
  // A lazy unmount still detaches the volume when something keeps a file open.
  if (runTool({"umount", mountPoint_}).exitCode != 0) runTool({"umount", "-l", mountPoint_});
}

bool reflinkCopy(const std::string& from, const std::string& to) {
  return runTool({"cp", "--reflink=always", from, to}).exitCode == 0;
}

}  // namespace tallyfin::testing
