#include "cli/options.h"

#include <algorithm>
#include <charconv>

#include "cli/command_table.h"
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

// The options that do not apply to the command, by the table's GlobalOption bits.
std::optional<std::string> misplacedOption(const Options& options, const CommandDoc& command) {
  const std::pair<bool, unsigned> given[] = {
      {options.json, kJson}, {options.top != Options{}.top, kTop}, {options.noScan, kNoScan},
      {options.store.has_value(), kStore}, {options.root.has_value(), kRoot}};
  for (const auto& [present, flag] : given) {
    const unsigned bit = flag;
    if (!present || (command.globals & bit)) continue;
    const auto& globals = globalOptions();
    const auto option = std::find_if(globals.begin(), globals.end(), [bit](const OptionDoc& o) { return o.bit == bit; });
    const std::string name(command.name.empty() ? "a scan" : command.name);
    const std::string help = command.name.empty() ? "tallyfin --help" : "tallyfin " + name + " --help";
    return std::string(option->name) + " does not go with " + name + " (" + help + ")";
  }
  return std::nullopt;
}

// Gives the command the words that followed it; the reason when they don't fit it.
std::optional<std::string> takeWords(Options& options, const std::vector<std::string>& words) {
  using Command = Options::Command;
  const CommandDoc& doc = commandDoc(options.command);
  const std::string name(doc.name);
  const auto atMostOne = [&]() -> std::optional<std::string> {
    if (words.size() > 1) return name + " takes one " + std::string(doc.arguments) + ", not " + words[1];
    return std::nullopt;
  };
  switch (options.command) {
    case Command::connect:
    case Command::disconnect:
      if (words.empty()) return name + " needs a client name";
      if (auto extra = atMostOne()) return extra;
      if (!AgentClients::named(words[0])) {
        return "unknown client " + words[0] + " (claude-code, claude-desktop, cursor, codex, gemini, windsurf, vscode)";
      }
      options.client = words[0];
      return std::nullopt;
    case Command::schedule:
      if (auto extra = atMostOne()) return extra;
      if (words.empty()) return std::nullopt;
      if (!scheduleNamed(words[0])) return "schedule takes off, daily or weekly, not " + words[0];
      options.schedule = words[0];
      return std::nullopt;
    case Command::autopilot: {
      if (auto extra = atMostOne()) return extra;
      if (words.empty()) return std::nullopt;
      const auto days = wholeNumber(words[0]);
      if (words[0] != "off" && !(days && *days >= Autopilot::kFewestDays && *days <= Autopilot::kMostDays)) {
        return "autopilot takes off or a number of days from " + std::to_string(Autopilot::kFewestDays) + " to " +
               std::to_string(Autopilot::kMostDays) + ", not " + words[0];
      }
      options.autopilotDays = words[0] == "off" ? 0 : *days;
      return std::nullopt;
    }
    case Command::duplicates:
      if (auto extra = atMostOne()) return extra;
      if (!words.empty()) options.folder = words[0];
      return std::nullopt;
    case Command::undo:
      if (auto extra = atMostOne()) return extra;
      if (!words.empty()) options.batch = words[0];
      return std::nullopt;
    case Command::keep:
      options.paths = words;
      if (options.remove && words.empty()) return std::string("keep --remove needs the paths to take off");
      return std::nullopt;
    default:
      break;
  }
  if (words.empty()) return std::nullopt;
  if (options.command == Command::scan) return "unknown command " + words[0] + " (tallyfin --help lists them)";
  return name + " takes no arguments, not " + words[0];
}

}  // namespace

Expected<Options, std::string> parseOptions(const std::vector<std::string>& arguments) {
  Options options;
  bool help = false;
  bool version = false;
  const CommandDoc* command = nullptr;
  std::vector<std::string> words;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    const auto value = [&](std::string_view option) -> Expected<std::string, std::string> {
      if (i + 1 >= arguments.size() || arguments[i + 1].starts_with("--")) {
        return fail(std::string(option) + " needs a value");
      }
      return arguments[++i];
    };
    // A command is its word ("history") or option ("--apps"), once, anywhere.
    if (const CommandDoc* named = commandNamed(argument); named && (!command || argument.starts_with("--"))) {
      if (command && command != named) {
        return fail(std::string(command->name) + " and " + argument + " are two commands \u2014 give one");
      }
      command = named;
      options.command = named->command;
    } else if (argument == "--json") {
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
      help = true;
    } else if (argument == "--version" || argument == "-V") {
      version = true;
    } else if (argument == "--min-size") {
      auto text = value("--min-size");
      if (!text) return fail(text.error());
      options.minimumBytes = megabytes(*text);
      if (!options.minimumBytes) return fail("--min-size takes a size in MB from 0 to 1000000, not " + *text);
    } else if (argument == "--full") {
      options.fullHash = true;
    } else if (argument == "--remove") {
      options.remove = true;
    } else if (argument == "--check" || argument == "--download" || argument == "--if-due") {
      (argument == "--check" ? options.check : argument == "--download" ? options.download : options.ifDue) = true;
    } else if (argument == "--feed") {
      auto text = value("--feed");
      if (!text) return fail(text.error());
      options.feed = *text;
    } else if (argument.starts_with("-") && argument != "-") {
      return fail("unknown option " + argument);
    } else {
      words.push_back(argument);
    }
  }
  if (version) {
    options.command = Options::Command::version;
    return options;
  }
  if (help) {
    options.commandHelp = command != nullptr;
    if (!command) options.command = Options::Command::help;
    return options;
  }
  if (options.remove && options.command != Options::Command::keep) {
    return fail(std::string("--remove goes with keep"));
  }
  if (auto reason = takeWords(options, words)) return fail(*reason);
  const CommandDoc& doc = commandDoc(options.command);
  if (auto reason = misplacedOption(options, doc)) return fail(*reason);
  if (options.noScan && options.root) {
    return fail(std::string("--root scans a folder; it does not go with --no-scan"));
  }
  const bool duplicates = options.command == Options::Command::duplicates;
  if (!duplicates && (options.minimumBytes || options.fullHash)) {
    return fail(std::string("--min-size and --full go with --duplicates"));
  }
  const bool update = options.command == Options::Command::update;
  if (!update && (options.check || options.download || options.ifDue || options.feed)) {
    return fail(std::string("--check, --download, --if-due and --feed go with update"));
  }
  if (update && options.download && (options.check || options.ifDue)) {
    return fail(std::string("update takes --check (with --if-due) or --download, not both"));
  }
  return options;
}

}  // namespace tallyfin::cli
