#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/expected.h"

namespace tallyfin::cli {

struct Options {
  enum class Command { scan, help, version, mcp, connect, disconnect, clients, agentGuide, duplicates, systemData,
                       apps, schedule, autopilot, update, history, trash, undo, keep };

  Command command = Command::scan;
  bool json = false;
  bool noScan = false;
  int top = 10;
  std::optional<std::string> store;
  std::optional<std::string> root;
  std::optional<std::string> client;  // for connect and disconnect
  std::optional<std::string> schedule;  // off, daily or weekly, for schedule
  std::optional<int> autopilotDays;     // 0 for off, for autopilot
  // For --duplicates: a folder to search instead of the scan's big files, the
  // smallest file compared in bytes, and whether to hash whole files.
  std::optional<std::string> folder;
  std::optional<int64_t> minimumBytes;
  bool fullHash = false;
  // For update: check (the default) or download, another feed (mirrors, tests),
  // and whether to check only when the daily check is due.
  bool check = false;
  bool download = false;
  bool ifDue = false;
  std::optional<std::string> feed;
  std::optional<std::string> batch;  // for undo; the newest when none
  std::vector<std::string> paths;    // for keep
  bool remove = false;               // keep --remove
  bool commandHelp = false;          // --help with a command: that command's own help
};

inline constexpr std::string_view kUsage =
    "usage: tallyfin [COMMAND] [ARGUMENTS] [--json] [--top N] [--store DIR] [--root PATH] — tallyfin --help lists "
    "the commands";

// The options of one invocation, or the one-line reason they make no sense.
Expected<Options, std::string> parseOptions(const std::vector<std::string>& arguments);

}  // namespace tallyfin::cli
