#include "kit/agents/config_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>

#include "kit/agents/agent_client.h"
#include "kit/base/paths.h"
#include "kit/base/small_file.h"
#include "kit/base/atomic_file.h"

namespace tallyfin::ConfigFile {
namespace {

std::optional<std::pair<ino_t, timespec>> identityOf(const std::string& path) {
  struct stat info;
  if (::stat(path.c_str(), &info) != 0) return std::nullopt;
  return std::make_pair(info.st_ino, info.st_mtim);
}

bool sameIdentity(const std::optional<std::pair<ino_t, timespec>>& a,
                  const std::optional<std::pair<ino_t, timespec>>& b) {
  if (a.has_value() != b.has_value()) return false;
  return !a || (a->first == b->first && a->second.tv_sec == b->second.tv_sec &&
                a->second.tv_nsec == b->second.tv_nsec);
}

std::string today() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  char text[16];
  std::strftime(text, sizeof text, "%Y%m%d", &local);
  return text;
}

// The first edit of a day keeps what the user had; later ones that day do not overwrite it.
void backUpOncePerDay(const Target& target) {
  const std::string backup = target.path + ".tallyfin-backup-" + today();
  const int fd = ::open(backup.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0) return;
  const ssize_t written = ::write(fd, target.data->data(), target.data->size());
  ::close(fd);
  if (written != static_cast<ssize_t>(target.data->size())) ::unlink(backup.c_str());
}

}  // namespace

Target read(const std::string& path) {
  std::error_code ignored;
  std::filesystem::create_directories(std::string(parentPath(path)), ignored);
  Target target;
  target.path = path;
  struct stat info;
  if (::stat(path.c_str(), &info) == 0) {
    target.mode = info.st_mode & 07777;
    target.identity = std::make_pair(info.st_ino, info.st_mtim);
    target.data = readSmallFile(path, kLargestConfig);
  }
  return target;
}

std::optional<SetupError> commit(const std::string& data, const Target& target) {
  if (!sameIdentity(identityOf(target.path), target.identity)) {
    return SetupError{SetupError::Kind::changedMeanwhile, target.path};
  }
  if (target.data) backUpOncePerDay(target);
  if (auto written = AtomicFile::write(data, target.path, target.mode); !written) {
    return SetupError{SetupError::Kind::commandFailed, written.error().message};
  }
  return std::nullopt;
}

}  // namespace tallyfin::ConfigFile
