#include <dirent.h>
#include <limits.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
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

}  // namespace tallyfin::platform
