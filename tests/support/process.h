#pragma once

#include <functional>
#include <string>
#include <vector>

namespace tallyfin::testing {

struct ProcessResult {
  int exitCode = -1;  // 128 + signal when killed
  std::string out;
  std::string err;
};

// Runs `program` with `arguments` and exactly `environment` ("NAME=value"),
// standard input from /dev/null, and collects both outputs.
ProcessResult runProcess(const std::string& program, const std::vector<std::string>& arguments,
                         const std::vector<std::string>& environment);

// Runs body(0) … body(count - 1) in that many child processes at once; true when
// every child returned 0.
bool runInParallelProcesses(int count, const std::function<int(int)>& body);

}  // namespace tallyfin::testing
