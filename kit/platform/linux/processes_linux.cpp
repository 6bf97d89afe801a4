#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "kit/base/small_file.h"
#include "kit/base/text.h"
#include "kit/platform/processes.h"

namespace tallyfin::platform {

std::string thisExecutable() {
  char path[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path - 1);
  return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string("tallyfin");
}

bool processRunning(std::initializer_list<std::string_view> names) {
  const std::unique_ptr<DIR, int (*)(DIR*)> proc(::opendir("/proc"), ::closedir);
  if (!proc) return false;
  while (const dirent* entry = ::readdir(proc.get())) {
    const std::string_view pid(entry->d_name);
    if (pid.empty() || !std::all_of(pid.begin(), pid.end(), [](char c) { return std::isdigit(static_cast<unsigned char>(c)); })) {
      continue;
    }
    const auto comm = readFileStart("/proc/" + std::string(pid) + "/comm", 64);
    if (!comm) continue;
    const std::string_view name = trimmed(*comm);
    if (std::find(names.begin(), names.end(), name) != names.end()) return true;
  }
  return false;
}

namespace {

constexpr const char* kSystemdRun = "/usr/bin/systemd-run";

// Spawns in a session of its own, with nothing of this process's terminal or files.
Expected<pid_t, int> spawnDetached(std::vector<std::string> argv) {
  std::vector<char*> pointers;
  for (auto& word : argv) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);
  pid_t pid = -1;
  const int failed = ::posix_spawn(&pid, pointers[0], &actions, &attributes, pointers.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  if (failed != 0) return fail(failed);
  return pid;
}

}  // namespace

Status startApart(const std::string& program, const std::vector<std::string>& arguments) {
  // systemd sets INVOCATION_ID for the processes of a unit; the user's service manager
  // then runs the program as a unit of its own, outside this one.
  const bool inService = std::getenv("INVOCATION_ID") != nullptr && ::access(kSystemdRun, X_OK) == 0;
  std::vector<std::string> argv;
  if (inService) argv = {kSystemdRun, "--user", "--collect", "--quiet", "--"};
  argv.push_back(program);
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  const auto started = spawnDetached(argv);
  if (!started) {
    return fail(Error{"Could not start " + program + ": " + std::strerror(started.error()) + ".", started.error()});
  }
  // systemd-run returns once the unit runs; the program itself is reaped when this process ends.
  if (inService) {
    int status = 0;
    while (::waitpid(*started, &status, 0) < 0 && errno == EINTR) {
    }
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
      return fail(Error{"The service manager did not start " + program + ".", 0});
    }
  }
  return ok();
}

}  // namespace tallyfin::platform
