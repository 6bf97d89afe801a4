#include "kit/scan/path_size.h"

#include <sys/stat.h>

#include "kit/scan/scanner.h"

namespace tallyfin {

int64_t measuredSize(const std::string& path, const std::string& home) {
  struct stat info;
  if (::lstat(path.c_str(), &info) != 0) return 0;
  if (!S_ISDIR(info.st_mode)) return static_cast<int64_t>(info.st_blocks) * 512;
  ScanConfiguration configuration(path, home);
  // Measuring one folder among many: a small walk beats a machine-wide one.
  configuration.workerCount = 2;
  const CancelToken never;
  const auto scan = Scanner(std::move(configuration)).run(never);
  return scan ? scan->tree.size : 0;
}

}  // namespace tallyfin
