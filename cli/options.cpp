#include "cli/options.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "kit/agents/agent_client.h"
#include "kit/history/autopilot.h"
#include "kit/shell/schedule.h"

namespace tallyfin::cli {
namespace {

constexpr int kMostEntries = 100'000;
constexpr double kLargestMinimumMB = 1'000'000;  // a terabyte

// A size in MB (1,000,000 bytes), fractions allowed: "0.5", "100".
std::optional<int64_t> megabytes(const std::string& text) {
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || !(value >= 0) ||
      value > kLargestMinimumMB) {
    return std::nullopt;
  }
  return static_cast<int64_t>(value * 1'000'000);
}

std::optional<int> wholeNumber(std::string_view text) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || value < 0 ||
      value > kMostEntries) {
    return std::nullopt;
  }
  return value;
}

bool isCommand(std::string_view word) {
  static constexpr std::array<std::string_view, 7> kCommands = {"mcp",       "clients", "agent-guide", "schedule",
                                                                "autopilot", "connect", "disconnect"};
  return std::find(kCommands.begin(), kCommands.end(), word) != kCommands.end();
}

}  // namespace

Expected<Options, std::string> parseOptions(const std::vector<std::string>& arguments) {
  Options options;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const auto value = [&](std::string_view option) -> Expected<std::string, std::string> {
      if (i + 1 >= arguments.size() || arguments[i + 1].starts_with("--")) {
        return fail(std::string(option) + " needs a value");
      }
      return arguments[++i];
    };
    if (argument == "--json") {
      options.json = true;
    } else if (argument == "--no-scan") {
      options.noScan = true;
    } else if (argument == "--top") {
      auto text = value("--top");
      if (!text) return fail(text.error());
      const auto number = wholeNumber(*text);
      if (!number) return fail("--top takes a whole number from 0 to 100000, not " + *text);
      options.top = *number;
    } else if (argument == "--store" || argument == "--root") {
      auto text = value(argument);
      if (!text) return fail(text.error());
      if (text->empty()) return fail(argument + " needs a folder; an empty path names none");
      (argument == "--store" ? options.store : options.root) = *text;
    } else if (argument == "--help" || argument == "-h") {
      if (options.command == Options::Command::update) {
        options.commandHelp = true;
      } else {
        options.command = Options::Command::help;
      }
    } else if (argument == "--duplicates") {
      options.command = Options::Command::duplicates;
      if (i + 1 < arguments.size() && !arguments[i + 1].starts_with("--")) options.folder = arguments[++i];
    } else if (argument == "--system-data") {
      options.command = Options::Command::systemData;
    } else if (argument == "--apps") {
      options.command = Options::Command::apps;
    } else if (argument == "--min-size") {
      auto text = value("--min-size");
      if (!text) return fail(text.error());
      options.minimumBytes = megabytes(*text);
      if (!options.minimumBytes) return fail("--min-size takes a size in MB from 0 to 1000000, not " + *text);
    } else if (argument == "--full") {
      options.fullHash = true;
    } else if (i == 0 && argument == "mcp") {
      options.command = Options::Command::mcp;
    } else if (i == 0 && argument == "clients") {
      options.command = Options::Command::clients;
    } else if (i == 0 && argument == "agent-guide") {
      options.command = Options::Command::agentGuide;
    } else if (i == 0 && argument == "schedule") {
      options.command = Options::Command::schedule;
      if (i + 1 < arguments.size() && !arguments[i + 1].starts_with("--")) {
        const std::string& schedule = arguments[++i];
        if (!scheduleNamed(schedule)) return fail("schedule takes off, daily or weekly, not " + schedule);
        options.schedule = schedule;
      }
    } else if (i == 0 && argument == "update") {
      options.command = Options::Command::update;
    } else if (argument == "--check" || argument == "--download" || argument == "--if-due") {
      (argument == "--check" ? options.check : argument == "--download" ? options.download : options.ifDue) = true;
    } else if (argument == "--feed") {
      auto text = value("--feed");
      if (!text) return fail(text.error());
      options.feed = *text;
    } else if (i == 0 && argument == "autopilot") {
      options.command = Options::Command::autopilot;
      if (i + 1 < arguments.size() && !arguments[i + 1].starts_with("--")) {
        const std::string& choice = arguments[++i];
        const auto days = wholeNumber(choice);
        if (choice != "off" && !(days && *days >= Autopilot::kFewestDays && *days <= Autopilot::kMostDays)) {
          return fail("autopilot takes off or a number of days from " + std::to_string(Autopilot::kFewestDays) + " to " +
                      std::to_string(Autopilot::kMostDays) + ", not " + choice);
        }
        options.autopilotDays = choice == "off" ? 0 : *days;
      }
    } else if (i == 0 && (argument == "connect" || argument == "disconnect")) {
      if (i + 1 >= arguments.size()) return fail(argument + " needs a client name");
      const std::string& client = arguments[++i];
      if (!AgentClients::named(client)) {
        return fail("unknown client " + client +
                    " (claude-code, claude-desktop, cursor, codex, gemini, windsurf, vscode)");
      }
      options.command = argument == "connect" ? Options::Command::connect : Options::Command::disconnect;
      options.client = client;
    } else if (isCommand(argument)) {
      // Until options may go anywhere, a command must come first.
      return fail(argument + " is a command: write it first, before any option (tallyfin " + argument + " …)");
    } else {
      return fail("unknown option " + argument);
    }
  }
  if (options.noScan && options.root) {
    return fail(std::string("--root scans a folder; it does not go with --no-scan"));
  }
  const bool duplicates = options.command == Options::Command::duplicates;
  if (!duplicates && (options.minimumBytes || options.fullHash)) {
    return fail(std::string("--min-size and --full go with --duplicates"));
  }
  if (options.command == Options::Command::systemData && (options.root || options.noScan)) {
    return fail(std::string("--system-data explains the last scan; --root and --no-scan do not apply"));
  }
  if (options.command == Options::Command::mcp && (options.json || options.noScan)) {
    return fail(std::string("mcp speaks JSON-RPC on its own; --json and --no-scan do not apply"));
  }
  if (options.command == Options::Command::apps && (options.root || options.noScan || options.store)) {
    return fail(std::string("--apps looks at the installed apps; --root, --no-scan and --store do not apply"));
  }
  const bool setting = options.command == Options::Command::schedule || options.command == Options::Command::autopilot;
  if (setting && (options.root || options.noScan || options.store)) {
    return fail(std::string("schedule and autopilot change settings; --root, --no-scan and --store do not apply"));
  }
  const bool update = options.command == Options::Command::update;
  if (!update && (options.check || options.download || options.ifDue || options.feed)) {
    return fail(std::string("--check, --download, --if-due and --feed go with update"));
  }
  if (update && options.download && (options.check || options.ifDue)) {
    return fail(std::string("update takes --check (with --if-due) or --download, not both"));
  }
  if (update && (options.root || options.noScan || options.store)) {
    return fail(std::string("update looks for a new release; --root, --no-scan and --store do not apply"));
  }
  if (duplicates && (options.root || options.noScan)) {
    return fail(std::string("--duplicates reads the last scan or a folder; --root and --no-scan do not apply"));
  }
  return options;
}

std::string helpText() {
  return R"(tallyfin — find what fills your disk and get the space back safely

Usage:
  tallyfin                      Scan and update the app's saved report
  tallyfin --json [--top N]     Scan now and print JSON — handy in scripts and CI
  tallyfin --no-scan --json     Instant JSON summary of the last scan (disk, health,
                                safe/review totals, suggestions, biggest folders)
  tallyfin --store DIR          Scan into another folder (benchmarks, experiments)
  tallyfin --root PATH          Scan one folder instead of the whole disk
  tallyfin mcp                  Serve AI assistants over MCP (standard input and output);
                                with --root, scan_disk measures that folder only
  tallyfin connect CLIENT       Add the MCP server to an assistant's settings
  tallyfin disconnect CLIENT    Remove the MCP server from an assistant's settings
  tallyfin clients              Show which assistants are installed and connected
  tallyfin agent-guide          Instructions to paste into AGENTS.md or CLAUDE.md
  tallyfin schedule [off|daily|weekly]
                                Scan by itself every day or every Monday at 10:00 (a
                                systemd user timer); without a choice, show the schedule
  tallyfin autopilot [off|DAYS] After each scheduled scan, move Safe items unused for DAYS
                                (14 to 90) to the Trash; without a choice, show the setting
  tallyfin --background-scan    The scheduled run: scan, notify, run Autopilot, exit 0
  tallyfin --system-data        What fills the system's share of the disk, and what to do
  tallyfin --apps               Installed apps, and what removed apps left behind
  tallyfin --duplicates [DIR]   Find identical files: the last scan's big files (100 MB+),
                                or every file of at least --min-size MB in DIR
  tallyfin update [--check]     Look for a newer signed release and show its notes
  tallyfin update --download    Download and verify it, and print how to install it

Options:
  --json        print the summary as JSON on standard output
  --top N       how many suggestions and folders the summary lists (default 10)
  --no-scan     do not scan; summarise the last saved scan
  --store DIR   keep the report and history in DIR instead of the standard folder
  --root PATH   scan PATH with the whole-disk limits; combines with every option
  --min-size MB with --duplicates: the smallest file compared (default 100 for the
                scan's big files, 1 for a folder)
  --full        with --duplicates: hash whole files instead of 50 samples (slower,
                certain; extras are always compared byte for byte before removal)
  -h, --help    show this help

Nothing is ever deleted: cleanups go to the Trash and can be undone.
Exit codes: 0 ok, 1 the scan failed, 2 another scan is running, 3 no saved report,
64 bad arguments.
)";
}

}  // namespace tallyfin::cli
