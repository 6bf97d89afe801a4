#include "tests/support/temp_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace tallyfin::testing {
namespace fs = std::filesystem;
namespace {

void check(bool ok, const std::string& what) {
  if (!ok) throw std::runtime_error(what + ": " + std::to_string(errno));
}

void makeParent(const std::string& path) {
  const auto parent = fs::path(path).parent_path();
  if (!parent.empty()) fs::create_directories(parent);
}

// The first subfolder of an open folder, after removing every other entry.
std::optional<std::string> clearFiles(int folder) {
  const int listed = ::dup(folder);
  DIR* entries = ::fdopendir(listed);
  if (!entries) {
    ::close(listed);
    return std::nullopt;
  }
  std::optional<std::string> subfolder;
  while (const dirent* entry = ::readdir(entries)) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    struct stat info;
    if (::fstatat(folder, name.c_str(), &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode)) {
      subfolder = name;
      break;
    }
    ::unlinkat(folder, name.c_str(), 0);
  }
  ::closedir(entries);
  return subfolder;
}

// Removes a tree of any depth: down by folder descriptors, up by "..", so no
// path is ever longer than one name (remove_all and rm crawl through very deep trees).
void removeDeepTree(const std::string& path) {
  int folder = ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  std::vector<std::string> names;  // the way down from `path`
  while (folder >= 0) {
    if (const auto subfolder = clearFiles(folder)) {
      ::fchmodat(folder, subfolder->c_str(), 0755, 0);
      const int child = ::openat(folder, subfolder->c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (child < 0) break;
      ::close(folder);
      folder = child;
      names.push_back(*subfolder);
      continue;
    }
    if (names.empty()) break;
    const int parent = ::openat(folder, "..", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(folder);
    folder = parent;
    if (folder >= 0) ::unlinkat(folder, names.back().c_str(), AT_REMOVEDIR);
    names.pop_back();
  }
  if (folder >= 0) ::close(folder);
  ::rmdir(path.c_str());
}

}  // namespace

TempFolder::TempFolder() {
  const char* base = std::getenv("TMPDIR");
  std::string pattern = std::string(base && *base ? base : "/tmp") + "/tallyfin-test-XXXXXX";
  check(mkdtemp(pattern.data()) != nullptr, "mkdtemp");
  path_ = fs::canonical(pattern).string();
}

TempFolder::~TempFolder() {
  // Tests lock folders away from themselves; each folder gets its permissions back on the way.
  ::chmod(path_.c_str(), 0755);
  removeDeepTree(path_);
}

std::string TempFolder::operator/(const std::string& relative) const {
  return path_ + "/" + relative;
}

void makeFolder(const std::string& path) { fs::create_directories(path); }

void writeFile(const std::string& path, size_t bytes) { writeText(path, std::string(bytes, 'x')); }

void writeText(const std::string& path, std::string_view text) {
  makeParent(path);
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  check(fd >= 0, "open " + path);
  check(::write(fd, text.data(), text.size()) == static_cast<ssize_t>(text.size()), "write");
  ::close(fd);
}

std::string readText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

bool pathExists(const std::string& path) {
  struct stat info;
  return ::lstat(path.c_str(), &info) == 0;
}

void allocateFile(const std::string& path, int64_t bytes) {
  makeParent(path);
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  check(fd >= 0, "open " + path);
  check(::posix_fallocate(fd, 0, bytes) == 0, "fallocate " + path);
  ::close(fd);
}

void sparseFile(const std::string& path, int64_t logical) {
  makeParent(path);
  const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  check(fd >= 0, "open " + path);
  check(::pwrite(fd, "x", 1, logical - 1) == 1, "pwrite " + path);
  ::close(fd);
}

void hardLink(const std::string& existing, const std::string& link) {
  makeParent(link);
  check(::link(existing.c_str(), link.c_str()) == 0, "link " + link);
}

void symbolicLink(const std::string& target, const std::string& link) {
  makeParent(link);
  check(::symlink(target.c_str(), link.c_str()) == 0, "symlink " + link);
}

void setMode(const std::string& path, mode_t mode) {
  check(::chmod(path.c_str(), mode) == 0, "chmod " + path);
}

void makeDeepChain(const std::string& top, int levels) {
  makeFolder(top);
  int folder = ::open(top.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  check(folder >= 0, "open " + top);
  for (int level = 0; level < levels; ++level) {
    check(::mkdirat(folder, "d", 0755) == 0, "mkdirat at level " + std::to_string(level));
    const int next = ::openat(folder, "d", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    ::close(folder);
    check(next >= 0, "openat at level " + std::to_string(level));
    folder = next;
    const int file = ::openat(folder, "f", O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    check(file >= 0 && ::write(file, "x", 1) == 1, "file at level " + std::to_string(level));
    ::close(file);
  }
  ::close(folder);
}

int64_t allocatedBytes(const std::string& path) {
  struct stat info;
  check(::lstat(path.c_str(), &info) == 0, "lstat " + path);
  return static_cast<int64_t>(info.st_blocks) * 512;
}

int runUnprivileged(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child == 0) {
    if (::geteuid() == 0) {
      constexpr uid_t kNobody = 65534;
      if (::setgroups(0, nullptr) != 0 || ::setgid(kNobody) != 0 || ::setuid(kNobody) != 0) {
        ::_exit(254);
      }
    }
    // A failure that throws must end the child here, not run the remaining tests as another user.
    int status = 253;
    try {
      status = body();
    } catch (...) {
    }
    ::_exit(status);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 255;
}

void openToEveryone(const std::string& path) {
  ::chmod(path.c_str(), 0755);
  for (const auto& entry : fs::recursive_directory_iterator(path)) {
    if (entry.is_symlink()) continue;
    ::chmod(entry.path().c_str(), entry.is_directory() ? 0755 : 0644);
  }
}

}  // namespace tallyfin::testing
