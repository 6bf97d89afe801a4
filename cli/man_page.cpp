#include "cli/man_page.h"

#include "cli/command_table.h"

namespace tallyfin::cli {
namespace {

// Text as roff reads it: backslashes and hyphens escaped, the few typographic
// characters of the help as roff's own glyphs, no line taken for a request.
std::string roff(std::string_view text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const std::string_view rest = text.substr(i);
    if (rest.starts_with("\u2014")) {
      out += "\\(em";
      i += 2;
    } else if (rest.starts_with("\u2013")) {
      out += "\\(en";
      i += 2;
    } else if (rest.starts_with("\u2026")) {
      out += "\\&...";
      i += 2;
    } else if (text[i] == '\\') {
      out += "\\e";
    } else if (text[i] == '-') {
      out += "\\-";
    } else {
      out += text[i];
    }
  }
  if (out.starts_with(".") || out.starts_with("'")) out = "\\&" + out;
  return out;
}

std::string optionItems(const std::vector<OptionDoc>& options) {
  std::string out;
  for (const auto& option : options) {
    out += ".TP\n.B " + roff(option.name);
    if (!option.value.empty()) out += " \\fI" + roff(option.value) + "\\fR";
    out += "\n" + roff(option.text) + "\n";
  }
  return out;
}

std::string commandTitle(const CommandDoc& command) {
  std::string title = "tallyfin";
  if (!command.name.empty()) title += " " + std::string(command.name);
  return "\\fB" + roff(title) + "\\fR" + (command.arguments.empty() ? "" : " \\fI" + roff(command.arguments) + "\\fR");
}

constexpr std::string_view kDescription =
    "tallyfin measures every folder under your home (and the rest of the disk it can read) with a fast parallel "
    "scan that reads only directory metadata, and saves a report, a history of scans and a list of cleanup "
    "suggestions, each marked Safe (rebuilds or downloads again by itself) or Review (may hold your work). It "
    "knows where build tools, package managers, containers, virtual machines, coding agents and local AI model "
    "stores keep their data. The desktop app tallyfin-app and the MCP server read the same saved report.";

constexpr std::string_view kSafety =
    "The command line never moves anything to the Trash by itself: moves happen in the app, through the MCP "
    "server after a preview and the user's confirmation, or by Autopilot after a scheduled scan. Every move is a "
    "move to the freedesktop.org Trash (so file managers, trash-list and gio trash see it), recorded in a journal, "
    "and tallyfin undo puts a batch back. Standard output carries only results; diagnostics go to standard error "
    "as lines starting with \"tallyfin: \".";

}  // namespace

std::string manPage() {
  std::string page = ".\\\" Generated from tallyfin's command table; edit cli/command_table.cpp instead.\n";
  page += ".TH TALLYFIN 1 \"\" \"" + roff(versionText()) + "\" \"User Commands\"\n";
  page += ".SH NAME\ntallyfin \\- find what fills your disk and get the space back safely\n";
  page += ".SH SYNOPSIS\n";
  for (const auto& command : commandTable()) page += ".nf\n" + roff(synopsis(command)) + "\n.fi\n";
  page += ".SH DESCRIPTION\n" + roff(kDescription) + "\n.PP\n" + roff(kSafety) + "\n";
  page += ".SH COMMANDS\n";
  for (const auto& command : commandTable()) {
    page += ".TP\n" + commandTitle(command) + "\n" + roff(command.description) + "\n";
    if (!command.forms.empty()) {
      page += ".RS\n";
      for (const auto& [arguments, summary] : command.forms) {
        page += ".TP\n\\fBtallyfin " + roff(arguments) + "\\fR\n" + roff(summary) + "\n";
      }
      page += ".RE\n";
    }
    if (!command.options.empty()) page += ".RS\n" + optionItems(command.options) + ".RE\n";
  }
  page += ".SH OPTIONS\nThese options may stand anywhere on the line, before or after the command.\n" +
          optionItems(globalOptions());
  page += ".SH \"EXIT STATUS\"\n";
  for (const auto& [code, meaning] : exitCodes()) page += ".TP\n.B " + std::to_string(code) + "\n" + roff(meaning) + "\n";
  page += ".SH FILES\n"
          ".TP\n.I ${XDG_DATA_HOME:\\-~/.local/share}/Tallyfin\n"
          "The data folder: report.json (the last scan), history.json and folder\\-history.json (the scans so far), "
          "snapshot.json, keep.json (the keep list), trash\\-journal.json (what was moved to the Trash, by batch).\n"
          ".TP\n.I ${XDG_DATA_HOME:\\-~/.local/share}/Trash\n"
          "The Trash that moves go to: files/ holds the items, info/ their .trashinfo records.\n"
          ".TP\n.I ${XDG_CONFIG_HOME:\\-~/.config}/Tallyfin/preferences.json\n"
          "The schedule, Autopilot and update preferences, shared with the app.\n";
  page += ".SH ENVIRONMENT\n"
          ".TP\n.B HOME\nThe home folder that is scanned and whose Trash is used.\n"
          ".TP\n.B XDG_DATA_HOME\nWhere the data folder and the Trash are (default ~/.local/share).\n"
          ".TP\n.B XDG_CONFIG_HOME\nWhere the preferences and the systemd user timers are (default ~/.config).\n";
  page += ".SH EXAMPLES\n"
          ".TP\n.B tallyfin\nScan and print the summary.\n"
          ".TP\n.B tallyfin \\-\\-no\\-scan \\-\\-json \\-\\-top 20\nThe last scan as JSON, with 20 suggestions.\n"
          ".TP\n.B tallyfin history\nThe scans so far, the growth per week and the forecast.\n"
          ".TP\n.B tallyfin trash; tallyfin undo\nWhat was moved to the Trash, then put the newest batch back.\n"
          ".TP\n.B tallyfin keep ~/models\nNever suggest ~/models again.\n";
  page += ".SH \"SEE ALSO\"\n.BR df (1),\n.BR du (1),\n.BR trash\\-list (1),\n.BR gio (1)\n";
  return page;
}

}  // namespace tallyfin::cli
