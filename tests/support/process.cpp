#include "tests/support/process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace tallyfin::testing {

ProcessResult runProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment) {
  int out[2], err[2];
  if (::pipe2(out, O_CLOEXEC) != 0 || ::pipe2(err, O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe failed");
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, out[1], 1);
  posix_spawn_file_actions_adddup2(&actions, err[1], 2);

  std::vector<char*> argv{const_cast<char*>(program.c_str())};
  for (const auto& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  std::vector<char*> envp;
  for (const auto& variable : environment) envp.push_back(const_cast<char*>(variable.c_str()));
  envp.push_back(nullptr);

  pid_t pid = 0;
  const int spawned = ::posix_spawn(&pid, program.c_str(), &actions, nullptr, argv.data(), envp.data());
  posix_spawn_file_actions_destroy(&actions);
  ::close(out[1]);
  ::close(err[1]);
  if (spawned != 0) throw std::runtime_error("cannot start " + program);

  ProcessResult result;
  pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
  std::string* sinks[2] = {&result.out, &result.err};
  int open = 2;
  while (open > 0) {
    ::poll(fds, 2, -1);
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP))) continue;
      char buffer[65536];
      const ssize_t count = ::read(fds[i].fd, buffer, sizeof buffer);
      if (count > 0) {
        sinks[i]->append(buffer, static_cast<size_t>(count));
      } else {
        ::close(fds[i].fd);
        fds[i].fd = -1;
        --open;
      }
    }
  }
  int status = 0;
  ::waitpid(pid, &status, 0);
  result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return result;
}

bool runInParallelProcesses(int count, const std::function<int(int)>& body) {
  std::vector<pid_t> children;
  for (int i = 0; i < count; ++i) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(body(i));
    children.push_back(child);
  }
  bool allSucceeded = true;
  for (const pid_t child : children) {
    int status = 0;
    ::waitpid(child, &status, 0);
    allSucceeded = allSucceeded && WIFEXITED(status) && WEXITSTATUS(status) == 0;
  }
  return allSucceeded;
}

}  // namespace tallyfin::testing
