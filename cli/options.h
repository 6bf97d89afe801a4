#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/expected.h"

namespace tallyfin::cli {

struct Options {
  enum class Command { scan, help, mcp, connect, clients, duplicates };

  Command command = Command::scan;
  bool json = false;
  bool noScan = false;
  int top = 10;
  std::optional<std::string> store;
  std::optional<std::string> root;
  std::optional<std::string> client;  // for connect
};

inline constexpr std::string_view kUsage =
    "usage: tallyfin [--json] [--top N] [--no-scan] [--store DIR] [--root PATH] | mcp | "
    "connect CLIENT | clients | --duplicates";

// The options of one invocation, or the one-line reason they make no sense.
Expected<Options, std::string> parseOptions(const std::vector<std::string>& arguments);

// What `tallyfin --help` prints.
std::string helpText();

}  // namespace tallyfin::cli
