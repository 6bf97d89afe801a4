#include "cli/command_table.h"

#include <algorithm>

#include "cli/text_layout.h"

namespace tallyfin::cli {
namespace {

using Command = Options::Command;

constexpr size_t kSummaryColumn = 30;

std::vector<CommandDoc> buildTable() {
  return {
      {Command::scan, "", "",
       "Scan and update the app's saved report",
       "Scans the whole disk (or --root PATH) through the same pipeline as the app, saves the report, history and "
       "snapshot into the data folder, and prints a summary: the disk as df counts it, what fills it, what is Safe "
       "to clean and worth reviewing, and the biggest folders. With --json the summary is the disk_status object "
       "with the first N suggestions and biggest folders. With --no-scan it summarises the last saved scan at once. "
       "Nothing is ever moved by this command.",
       kJson | kTop | kNoScan | kStore | kRoot, {}, Completes::nothing, {},
       {{"--json [--top N]", "Scan now and print JSON \u2014 handy in scripts and CI"},
        {"--no-scan --json",
         "Instant JSON summary of the last scan (disk, health, safe/review totals, suggestions, biggest folders)"},
        {"--store DIR", "Scan into another folder (benchmarks, experiments)"},
        {"--root PATH", "Scan one folder instead of the whole disk"}}},
      {Command::history, "history", "",
       "Scans so far: used and free space, changes, growth and forecast",
       "Lists the scans of history.json (date, used, free, change since the scan before), a sparkline of used space "
       "when standard output is a terminal, the growth per week and when the disk would be full at that pace, what "
       "changed since the previous scan and the folders that keep growing. --top N sets how many scans and changes "
       "are listed (default 10).",
       kJson | kTop | kStore},
      {Command::trash, "trash", "",
       "Batches moved to the Trash, newest first, and what is still there",
       "Lists the batches of the Trash journal, newest first: id, date, who moved it (app, agent or autopilot), "
       "item count and size, and for each item whether it is still in the Trash or was emptied or put back by "
       "another tool.",
       kJson | kStore},
      {Command::undo, "undo", "[BATCH]",
       "Put a batch back from the Trash (the newest by default)",
       "Puts every item of BATCH (an id from tallyfin trash; the newest batch when none is given) back where it "
       "was, through the same undo as the app and the MCP server's undo_trash. Each item put back is printed, and "
       "each one that is not with the reason: already put back or emptied with another tool, a different item in "
       "the Trash under its name, or its original place taken. Exit status 0 when all came back, 1 otherwise.",
       kJson | kStore, {}, Completes::nothing},
      {Command::keep, "keep", "[PATH...] [--remove PATH...]",
       "Show or edit the keep list (suggestions never offered again)",
       "Without paths, lists the kept paths of keep.json. With paths, adds them; with --remove, takes them off "
       "again. Kept suggestions are hidden by the next summary, the app and the MCP server, and never moved. "
       "keep.json is changed under its file lock, so the app may run meanwhile.",
       kJson | kStore,
       {{"--remove", "", "take the given paths off the keep list"}},
       Completes::paths},
      {Command::duplicates, "--duplicates", "[DIR]",
       "Find identical files: the last scan's big files, or DIR",
       "Finds identical files among the last scan's files of 100 MB or more, or among every file of at least "
       "--min-size MB in DIR (default 1 MB). Copies are found by size and sampled hashes and are compared byte for "
       "byte before anything could move. Nothing is moved by this command.",
       kJson | kStore,
       {{"--min-size", "MB", "the smallest file compared (default 100 for the scan's files, 1 for a folder)"},
        {"--full", "", "hash whole files instead of 50 samples (slower, certain)"}},
       Completes::folders},
      {Command::systemData, "--system-data", "",
       "What fills the system's share of the disk, and what to do",
       "Explains the system's share of the disk from the last scan (the system itself, package caches, logs, "
       "snaps, Flatpak runtimes, swap, containers) with the command that frees each part, to copy.",
       kJson | kStore},
      {Command::apps, "--apps", "",
       "Installed apps, and what removed apps left behind",
       "Lists the installed apps (and Flatpak apps, where flatpak answers) with their sizes, and the leftovers of "
       "apps that are no longer installed.",
       kJson},
      {Command::mcp, "mcp", "",
       "Serve AI assistants over MCP on standard input and output",
       "Runs the Model Context Protocol server (JSON-RPC 2.0, one message per line) on standard input and output. "
       "With --root, its scan_disk measures that folder only. Moves happen only after a preview and the user's "
       "confirmation.",
       kStore | kRoot},
      {Command::connect, "connect", "CLIENT",
       "Add the MCP server to an assistant's settings",
       "Adds this tallyfin's MCP server to an assistant application's settings, after a dated backup, with an "
       "atomic write. CLIENT is one of claude-code, claude-desktop, cursor, codex, gemini, windsurf, vscode.",
       0, {}, Completes::words,
       {"claude-code", "claude-desktop", "cursor", "codex", "gemini", "windsurf", "vscode"}},
      {Command::disconnect, "disconnect", "CLIENT",
       "Remove the MCP server from an assistant's settings",
       "Removes Tallyfin's MCP server from an assistant application's settings again, after a dated backup.",
       0, {}, Completes::words,
       {"claude-code", "claude-desktop", "cursor", "codex", "gemini", "windsurf", "vscode"}},
      {Command::clients, "clients", "",
       "Which assistants are installed and connected",
       "Shows for each assistant application whether it is installed and whether it uses Tallyfin's MCP server.",
       0},
      {Command::agentGuide, "agent-guide", "",
       "Instructions to paste into AGENTS.md or CLAUDE.md",
       "Prints Markdown instructions for coding agents: the MCP tools, the commands and the rules they follow.",
       0},
      {Command::schedule, "schedule", "[off|daily|weekly]",
       "Scan by itself every day or every week; show the schedule",
       "Sets up a systemd user timer (or, without one, a crontab entry) that scans every day or every Monday at "
       "10:00 at the lowest priority; off removes it. Without a choice, shows the schedule and whether it will run.",
       kJson, {}, Completes::words, {"off", "daily", "weekly"}},
      {Command::autopilot, "autopilot", "[off|DAYS]",
       "Move Safe items unused for DAYS to the Trash after scheduled scans",
       "After each scheduled scan, moves Safe items unused for DAYS (14 to 90) to the Trash as one undoable batch; "
       "off turns it off. Without a choice, shows the setting. The command line itself never moves anything.",
       kJson, {}, Completes::words, {"off", "14", "30", "60", "90"}},
      {Command::update, "update", "[--check [--if-due] | --download] [--feed URL]",
       "Look for a newer signed release, or download and verify it",
       "Fetches the signed release feed, checks its signature with the key built into tallyfin and prints a newer "
       "version's notes (exit status 10), or with --download fetches the package, checks its size and SHA-256 "
       "against the feed and prints the command that installs it. tallyfin never installs anything itself.",
       kJson,
       {{"--check", "", "look for a newer release (the default)"},
        {"--if-due", "", "with --check: only when the daily check is on and due"},
        {"--download", "", "download and verify the newer release"},
        {"--feed", "URL", "another release feed (a mirror); its signature is at URL.sig"}},
       Completes::nothing, {},
       {{"update --download", "Download and verify it; print how to install it"}}},
  };
}

std::vector<OptionDoc> buildGlobals() {
  return {
      {"--json", "", "print the result as JSON on standard output (snake_case keys)", kJson},
      {"--top", "N", "how many entries each list holds (default 10)", kTop},
      {"--no-scan", "", "do not scan; summarise the last saved scan", kNoScan},
      {"--store", "DIR", "keep the report, history and journal in DIR instead of the standard folder", kStore},
      {"--root", "PATH", "scan PATH with the whole-disk limits instead of the whole disk", kRoot},
      {"--help", "", "show the help, or a command's own help after it", 0},
      {"--version", "", "print the version", 0},
  };
}

std::string optionWithValue(const OptionDoc& option) {
  return option.value.empty() ? std::string(option.name) : std::string(option.name) + " " + std::string(option.value);
}

std::string commandLine(const CommandDoc& command) {
  std::string line = "tallyfin";
  if (!command.name.empty()) line += " " + std::string(command.name);
  if (!command.arguments.empty()) line += " " + std::string(command.arguments);
  return line;
}

std::string optionLines(const std::vector<OptionDoc>& options) {
  std::string text;
  for (const auto& option : options) {
    text += "  " + column(optionWithValue(option), 16) + wrapped(option.text, 60, 18) + "\n";
  }
  return text;
}

}  // namespace

std::string exitCodeLines() {
  std::string lines = "Exit codes:\n";
  for (const auto& [code, meaning] : exitCodes()) {
    lines += "  " + column(std::to_string(code), 3) + std::string(meaning) + "\n";
  }
  return lines;
}

const std::vector<CommandDoc>& commandTable() {
  static const std::vector<CommandDoc> table = buildTable();
  return table;
}

const std::vector<OptionDoc>& globalOptions() {
  static const std::vector<OptionDoc> options = buildGlobals();
  return options;
}

const CommandDoc* commandNamed(std::string_view word) {
  const auto& table = commandTable();
  const auto found = std::find_if(table.begin(), table.end(),
                                  [&](const CommandDoc& command) { return !word.empty() && command.name == word; });
  return found == table.end() ? nullptr : &*found;
}

const CommandDoc& commandDoc(Options::Command command) {
  const auto& table = commandTable();
  const auto found =
      std::find_if(table.begin(), table.end(), [&](const CommandDoc& doc) { return doc.command == command; });
  return found == table.end() ? table.front() : *found;
}

std::string synopsis(const CommandDoc& command) {
  std::string line = commandLine(command);
  for (const auto& option : globalOptions()) {
    if (option.bit & command.globals) line += " [" + optionWithValue(option) + "]";
  }
  return line;
}

const std::vector<std::pair<int, std::string_view>>& exitCodes() {
  static const std::vector<std::pair<int, std::string_view>> codes = {
      {0, "ok"},
      {1, "the scan or the command failed (undo: not everything came back)"},
      {2, "another scan is running (the app, a scheduled scan or another tallyfin)"},
      {3, "no saved report or history to read"},
      {10, "a newer release is available (update)"},
      {64, "bad arguments"},
  };
  return codes;
}

std::string helpText() {
  std::string text = "tallyfin \u2014 find what fills your disk and get the space back safely\n\nUsage:\n";
  const auto usage = [&text](const std::string& line, std::string_view summary) {
    const std::string words = wrapped(summary, 80 - 2 - kSummaryColumn, kSummaryColumn + 2);
    text += "  " + (line.size() < kSummaryColumn ? column(line, kSummaryColumn) + words
                                                 : line + "\n" + std::string(kSummaryColumn + 2, ' ') + words) +
            "\n";
  };
  for (const auto& command : commandTable()) {
    usage(commandLine(command), command.summary);
    for (const auto& [arguments, summary] : command.forms) usage("tallyfin " + std::string(arguments), summary);
  }
  text += "\nOptions (anywhere on the line, before or after the command):\n" + optionLines(globalOptions());
  text += "\nRun tallyfin COMMAND --help for a command's own help and options.\n"
          "Nothing is ever deleted: cleanups go to the Trash and can be undone (tallyfin undo).\n" +
          exitCodeLines();
  return text;
}

std::string commandHelpText(const CommandDoc& command) {
  const std::string name = command.name.empty() ? "tallyfin" : "tallyfin " + std::string(command.name);
  std::string text = name + " \u2014 " +
                     std::string(command.summary) + "\n\nUsage: " + wrapped(synopsis(command), 71, 9) + "\n";
  for (const auto& [arguments, summary] : command.forms) text += "       tallyfin " + std::string(arguments) + "\n";
  text += "\n" + wrapped(command.description, 78, 0) + "\n";
  std::vector<OptionDoc> options = command.options;
  for (const auto& option : globalOptions()) {
    if (option.bit & command.globals) options.push_back(option);
  }
  options.push_back(globalOptions()[globalOptions().size() - 2]);  // --help
  text += "\nOptions:\n" + optionLines(options) + "\n" + exitCodeLines();
  return text;
}

std::string versionText() { return "tallyfin " TALLYFIN_VERSION; }

}  // namespace tallyfin::cli
