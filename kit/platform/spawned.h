#pragma once

// One child process of a tool probe: started with posix_spawn from a fixed
// environment, its standard output read through a pipe with a time-out and a
// cap, killed when it does not answer, and always reaped.

#include <sys/types.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace tallyfin {

class Spawned {
 public:
  static constexpr size_t kMaxOutput = 67'108'864;

  // Starts `executable` with exactly `arguments` (not counting the program's own
  // name) and `environment` ("NAME=value"), standard input from /dev/null and
  // standard error discarded; none when it cannot be started.
  static std::optional<Spawned> start(const std::string& executable, const std::vector<std::string>& arguments,
                                      const std::vector<std::string>& environment);

  Spawned(Spawned&& other) noexcept;
  Spawned(const Spawned&) = delete;
  Spawned& operator=(const Spawned&) = delete;
  Spawned& operator=(Spawned&&) = delete;
  // A child nobody finished is killed and reaped.
  ~Spawned();

  struct Output {
    std::string bytes;
    bool timedOut = false;
  };
  // Standard output until end of file, `timeoutSeconds` or `maxOutput` bytes,
  // whichever comes first.
  Output readAll(double timeoutSeconds, size_t maxOutput = kMaxOutput);

  // Kills the child (and anything it started) first when `kill` is set, then
  // reaps it; the exit status, none when it did not exit normally.
  std::optional<int> finish(bool kill);

  pid_t pid() const { return pid_; }
  int readFD() const { return readFD_; }

 private:
  Spawned(pid_t pid, int readFD) : pid_(pid), readFD_(readFD) {}
  pid_t pid_;
  int readFD_;
  bool finished_ = false;
};

// What one run of a tool gave.
struct ToolRun {
  std::string output;
  bool timedOut = false;
  std::optional<int> status;  // none when it could not start, timed out or was killed

  bool succeeded() const { return status == 0; }
};

// Starts, reads and finishes a tool in one go.
ToolRun runTool(const std::string& executable, const std::vector<std::string>& arguments,
                const std::vector<std::string>& environment, double timeoutSeconds);

}  // namespace tallyfin
