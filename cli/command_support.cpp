#include "cli/command_support.h"

#include "cli/text_layout.h"
#include "kit/base/paths.h"

#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace tallyfin::cli {

void diagnose(const std::string& message) {
  std::fprintf(stderr, "tallyfin: %s\n", terminalSafe(message).c_str());
}

void print(const std::string& text) { std::fwrite(text.data(), 1, text.size(), stdout); }

std::optional<ScanReport> savedReport(const Store& store, std::string_view nextStep) {
  auto report = readReport(store);
  if (report) return std::move(*report);
  const Error& error = report.error();
  // A missing or damaged report is replaced by the next scan; anything else needs a hand first.
  diagnose(error.code == ENOENT || error.code == EILSEQ ? error.message + std::string(nextStep) : error.message);
  return std::nullopt;
}

std::string givenPath(const std::string& given, const std::string& home) {
  const std::string path = expandedHome(given, home);
  char resolved[PATH_MAX];
  if (::realpath(path.c_str(), resolved)) return resolved;
  if (path.starts_with("/")) return path;
  char current[PATH_MAX];
  return ::getcwd(current, sizeof current) ? std::string(current) + "/" + path : path;
}

}  // namespace tallyfin::cli
