#include "kit/platform/spawned.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

namespace tallyfin {
namespace {

std::vector<char*> pointers(std::vector<std::string>& texts) {
  std::vector<char*> list;
  for (auto& text : texts) list.push_back(text.data());
  list.push_back(nullptr);
  return list;
}

}  // namespace

std::optional<Spawned> Spawned::start(const std::string& executable, const std::vector<std::string>& arguments,
                                      const std::vector<std::string>& environment) {
  int pipe[2];
  if (::pipe2(pipe, O_CLOEXEC) != 0) return std::nullopt;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&actions, pipe[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  // Its own process group, so a time-out also ends whatever the tool started.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  posix_spawnattr_setpgroup(&attributes, 0);
  sigset_t none, all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);

  std::vector<std::string> argv{executable};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  std::vector<std::string> envp = environment;
  pid_t pid = -1;
  const int failed = ::posix_spawn(&pid, executable.c_str(), &actions, &attributes, pointers(argv).data(),
                                   pointers(envp).data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  ::close(pipe[1]);
  if (failed != 0) {
    ::close(pipe[0]);
    return std::nullopt;
  }
  return Spawned(pid, pipe[0]);
}

Spawned::Spawned(Spawned&& other) noexcept
    : pid_(other.pid_), readFD_(other.readFD_), finished_(other.finished_) {
  other.readFD_ = -1;
  other.finished_ = true;
}

Spawned::~Spawned() {
  if (!finished_) finish(true);
  if (readFD_ >= 0) ::close(readFD_);
}

Spawned::Output Spawned::readAll(double timeoutSeconds, size_t maxOutput) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                           std::chrono::duration<double>(timeoutSeconds));
  Output output;
  char buffer[65'536];
  while (output.bytes.size() < maxOutput) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) {
      output.timedOut = true;
      break;
    }
    pollfd waiting{readFD_, POLLIN, 0};
    const int ready = ::poll(&waiting, 1, static_cast<int>(std::min<long long>(left, 1'000)));
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0) break;
    if (ready == 0) continue;
    const ssize_t count = ::read(readFD_, buffer, std::min(sizeof buffer, maxOutput - output.bytes.size()));
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) break;
    output.bytes.append(buffer, static_cast<size_t>(count));
  }
  return output;
}

std::optional<int> Spawned::finish(bool kill) {
  if (finished_) return std::nullopt;
  finished_ = true;
  if (kill) ::kill(-pid_, SIGKILL);
  int status = 0;
  while (::waitpid(pid_, &status, 0) < 0) {
    if (errno != EINTR) return std::nullopt;
  }
  if (!WIFEXITED(status)) return std::nullopt;
  return WEXITSTATUS(status);
}

ToolRun runTool(const std::string& executable, const std::vector<std::string>& arguments,
                const std::vector<std::string>& environment, double timeoutSeconds) {
  auto child = Spawned::start(executable, arguments, environment);
  if (!child) return {};
  auto output = child->readAll(timeoutSeconds);
  ToolRun run{std::move(output.bytes), output.timedOut, std::nullopt};
  // Output cut at the cap leaves the child writing into a full pipe: it is ended too.
  const bool stuck = output.timedOut || run.output.size() >= Spawned::kMaxOutput;
  run.status = child->finish(stuck);
  if (stuck) run.status.reset();
  return run;
}

}  // namespace tallyfin
