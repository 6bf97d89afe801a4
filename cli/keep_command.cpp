#include "cli/keep_command.h"

#include <unistd.h>

#include <climits>
#include <cstdio>
#include <filesystem>

#include <nlohmann/json.hpp>

#include "cli/command_support.h"
#include "cli/text_layout.h"
#include "kit/base/paths.h"
#include "kit/cleanup/keep_list.h"
#include "kit/store/format.h"

namespace tallyfin::cli {
namespace {

using namespace exit_code;

// The path as a suggestion names it: absolute, "~" expanded, "." and ".." and a
// trailing "/" gone, links left as they are (a suggestion's path is not resolved).
std::string keptPath(const std::string& given, const std::string& home) {
  std::filesystem::path path = expandedHome(given, home);
  if (path.is_relative()) {
    char current[PATH_MAX];
    if (::getcwd(current, sizeof current)) path = std::filesystem::path(current) / path;
  }
  std::string normal = path.lexically_normal().string();
  if (normal.size() > 1 && normal.back() == '/') normal.pop_back();
  return normal;
}

}  // namespace

int editKeepList(const Options& options, const Store& store, const std::string& home) {
  std::set<std::string> kept;
  std::string out;
  if (options.paths.empty()) {
    auto list = KeepList::read(store);
    if (!list) {
      diagnose(list.error().message);
      return kScanFailed;
    }
    kept = std::move(*list);
  }
  for (const auto& given : options.paths) {
    const std::string path = keptPath(given, home);
    const bool wasKept = KeepList::paths(store).contains(path);
    auto updated = KeepList::set(store, path, !options.remove);
    if (!updated) {
      diagnose(updated.error().message);
      return kScanFailed;
    }
    kept = std::move(*updated);
    const std::string shown = terminalSafe(Format::shortPath(path, home));
    if (!options.remove) {
      out += "Keeping " + shown + " \u2014 it is not suggested again.\n";
    } else {
      out += wasKept ? "No longer keeping " + shown + ".\n" : shown + " was not on the keep list.\n";
    }
  }
  if (options.json) {
    out = nlohmann::json{{"kept", kept}}.dump(2) + "\n";
  } else if (options.paths.empty()) {
    if (kept.empty()) out = "The keep list is empty.\n";
    for (const auto& path : kept) out += terminalSafe(Format::shortPath(path, home)) + "\n";
  }
  std::fwrite(out.data(), 1, out.size(), stdout);
  return kOk;
}

}  // namespace tallyfin::cli
