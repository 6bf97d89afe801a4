#pragma once

// Every command and option of the tool, written once: the parser checks the line
// against it, and --help, each command's --help, the man page and the shell
// completions are all made from it.

#include <string>
#include <utility>
#include <string_view>
#include <vector>

#include "cli/options.h"

namespace tallyfin::cli {

// The options every command may be given, as bits of CommandDoc::globals.
enum GlobalOption : unsigned { kJson = 1, kTop = 2, kNoScan = 4, kStore = 8, kRoot = 16 };

struct OptionDoc {
  std::string_view name;   // "--top"
  std::string_view value;  // "N"; empty for a switch
  std::string_view text;   // one line
  unsigned bit = 0;        // its GlobalOption, for the global ones
};

// What a word after the command may be, for the shell completions.
enum class Completes { nothing, words, folders, paths };

struct CommandDoc {
  Options::Command command;
  std::string_view name;         // the word typed: "history", "--duplicates"; empty for the scan
  std::string_view arguments;    // what follows the name in a synopsis: "[BATCH]"
  std::string_view summary;      // one line, for the overview
  std::string_view description;  // a paragraph, for its own --help and the man page
  unsigned globals = 0;          // the GlobalOptions that apply to it
  std::vector<OptionDoc> options = {};        // its own options
  Completes completes = Completes::nothing;
  std::vector<std::string_view> words = {};   // with Completes::words: the choices
  // Other ways to call it, each with its own summary line: {"--no-scan --json", "Instant …"}.
  std::vector<std::pair<std::string_view, std::string_view>> forms = {};
};

// The commands in the order the help lists them; the scan comes first.
const std::vector<CommandDoc>& commandTable();

// --json, --top, --no-scan, --store, --root, --help and --version.
const std::vector<OptionDoc>& globalOptions();

// The entry of a command word ("history") or command option ("--apps"); null for any other.
const CommandDoc* commandNamed(std::string_view word);

const CommandDoc& commandDoc(Options::Command command);

// "tallyfin history [--json] [--store DIR]": the name, its arguments and the options that apply.
std::string synopsis(const CommandDoc& command);

// One line per exit code: "0  ok".
const std::vector<std::pair<int, std::string_view>>& exitCodes();

// "Exit codes:" and one line per code: "  0  ok".
std::string exitCodeLines();

// What `tallyfin --help` prints.
std::string helpText();

// What `tallyfin COMMAND --help` prints.
std::string commandHelpText(const CommandDoc& command);

// "tallyfin 0.1.0".
std::string versionText();

}  // namespace tallyfin::cli
