// tallyfin-scan: scans one folder with the parallel scanner and prints one line
// of JSON with the totals, the scan time and the process's peak memory.

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <nlohmann/json.hpp>

#include "kit/scan/scanner.h"

namespace {

constexpr const char* kUsage = "usage: tallyfin-scan [-t THREADS] FOLDER\n";

int usage() {
  std::fputs(kUsage, stderr);
  return 64;
}

}  // namespace

int main(int argc, char** argv) {
  int threads = 0;
  std::string folder;
  for (int i = 1; i < argc; ++i) {
    const std::string argument = argv[i];
    if (argument == "-t" && i + 1 < argc) {
      threads = std::atoi(argv[++i]);
    } else if (argument == "-h" || argument == "--help") {
      std::fputs(kUsage, stdout);
      return 0;
    } else if (folder.empty()) {
      folder = argument;
    } else {
      return usage();
    }
  }
  if (folder.empty()) return usage();
  char resolved[PATH_MAX];
  if (!realpath(folder.c_str(), resolved)) {
    std::fprintf(stderr, "tallyfin-scan: %s cannot be opened — check the path.\n", folder.c_str());
    return 1;
  }
  const char* home = std::getenv("HOME");
  tallyfin::ScanConfiguration configuration(resolved, home ? home : "/");
  configuration.workerCount = threads;

  tallyfin::CancelToken cancel;
  auto scan = tallyfin::Scanner(configuration).run(cancel);
  if (!scan) {
    std::fprintf(stderr, "tallyfin-scan: %s\n", scan.error().message().c_str());
    return 1;
  }
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  const nlohmann::json summary = {
      {"root", configuration.root},
      {"bytes", scan->tree.size},
      {"files", scan->tree.files},
      {"denied", scan->deniedCount},
      {"tasks", scan->taskCount},
      {"hardlinkBytesDeduped", scan->hardlinkBytesDeduped},
      {"largeFiles", scan->largeFiles.size()},
      {"projectJunk", scan->projectJunk.size()},
      {"seconds", scan->duration},
      {"peakRssMB", static_cast<double>(usage.ru_maxrss) / 1024.0},
  };
  std::printf("%s\n", summary.dump().c_str());
  return 0;
}
