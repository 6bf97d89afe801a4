#include "cli/command_support.h"

#include "kit/base/paths.h"

#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>

namespace tallyfin::cli {

void diagnose(const std::string& message) { std::fprintf(stderr, "tallyfin: %s\n", message.c_str()); }

std::string noSavedScanMessage(const Store& store) { return "no saved scan in " + store.directory(); }

std::string givenPath(const std::string& given, const std::string& home) {
  const std::string path = expandedHome(given, home);
  char resolved[PATH_MAX];
  if (::realpath(path.c_str(), resolved)) return resolved;
  if (path.starts_with("/")) return path;
  char current[PATH_MAX];
  return ::getcwd(current, sizeof current) ? std::string(current) + "/" + path : path;
}

}  // namespace tallyfin::cli
