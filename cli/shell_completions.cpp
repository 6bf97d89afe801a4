#include "cli/shell_completions.h"

#include "cli/command_table.h"

namespace tallyfin::cli {
namespace {

constexpr std::string_view kHeader = "# Generated from tallyfin's command table; edit cli/command_table.cpp instead.\n";

// The options one command takes: its own, the global ones that apply, and --help.
std::vector<OptionDoc> optionsOf(const CommandDoc& command) {
  std::vector<OptionDoc> options = command.options;
  for (const auto& option : globalOptions()) {
    if ((option.bit & command.globals) || option.name == "--help") options.push_back(option);
  }
  if (command.name.empty()) options.push_back(globalOptions().back());  // --version
  return options;
}

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const auto& word : words) out += (out.empty() ? "" : " ") + word;
  return out;
}

std::string names(const std::vector<OptionDoc>& options) {
  std::vector<std::string> list;
  for (const auto& option : options) list.emplace_back(option.name);
  return joined(list);
}

std::string words(const CommandDoc& command) {
  std::vector<std::string> list(command.words.begin(), command.words.end());
  return joined(list);
}

// Every command's name as a case pattern: history|trash|…|--apps.
std::string commandPattern() {
  std::vector<std::string> list;
  for (const auto& command : commandTable()) {
    if (!command.name.empty()) list.emplace_back(command.name);
  }
  std::string out;
  for (const auto& name : list) out += (out.empty() ? "" : "|") + name;
  return out;
}

// Options that take a value, and what it is.
std::string valueOptions(Completes what) {
  std::vector<std::string> list;
  const auto add = [&](const OptionDoc& option) {
    const bool folder = option.value == "DIR" || option.value == "PATH";
    if (!option.value.empty() && folder == (what == Completes::folders)) list.emplace_back(option.name);
  };
  for (const auto& option : globalOptions()) add(option);
  for (const auto& command : commandTable()) {
    for (const auto& option : command.options) add(option);
  }
  std::string out;
  for (const auto& name : list) out += (out.empty() ? "" : "|") + name;
  return out;
}

// Inside single quotes in bash and zsh: ' becomes '\''.
std::string singleQuoted(std::string_view text) {
  std::string out = "'";
  for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// zsh's _describe splits at the first colon; one inside the text is escaped.
std::string describeEntry(std::string_view name, std::string_view text) {
  std::string entry(name);
  entry += ':';
  for (const char c : text) entry += c == ':' ? std::string("\\:") : std::string(1, c);
  return singleQuoted(entry);
}

// Inside single quotes in fish: ' and \ are escaped with a backslash.
std::string fishQuoted(std::string_view text) {
  std::string out = "'";
  for (const char c : text) {
    if (c == '\'' || c == '\\') out += '\\';
    out += c;
  }
  return out + "'";
}

}  // namespace

std::string bashCompletion() {
  std::string script = "# bash completion for tallyfin\n" + std::string(kHeader) +
                       "_tallyfin() {\n"
                       "    local cur=${COMP_WORDS[COMP_CWORD]} prev= subcommand= word options\n"
                       "    (( COMP_CWORD > 0 )) && prev=${COMP_WORDS[COMP_CWORD-1]}\n"
                       "    case $prev in\n"
                       "        " + valueOptions(Completes::folders) + ") COMPREPLY=($(compgen -d -- \"$cur\")); return ;;\n"
                       "        " + valueOptions(Completes::nothing) + ") COMPREPLY=(); return ;;\n"
                       "    esac\n"
                       "    for word in \"${COMP_WORDS[@]:1:COMP_CWORD-1}\"; do\n"
                       "        case $word in\n"
                       "            " + commandPattern() + ") subcommand=$word; break ;;\n"
                       "        esac\n"
                       "    done\n"
                       "    case $subcommand in\n";
  std::string scanOptions;
  for (const auto& command : commandTable()) {
    if (command.name.empty()) {
      scanOptions = names(optionsOf(command));
      continue;
    }
    script += "        " + std::string(command.name) + ") options=" + singleQuoted(names(optionsOf(command))) + " ;;\n";
  }
  std::string commandOptions, commandWords;
  for (const auto& command : commandTable()) {
    if (command.name.starts_with("--")) commandOptions += " " + std::string(command.name);
    if (!command.name.empty() && !command.name.starts_with("--")) {
      commandWords += (commandWords.empty() ? "" : " ") + std::string(command.name);
    }
  }
  script += "        *) options=" + singleQuoted(scanOptions + commandOptions) + " ;;\n"
            "    esac\n"
            "    if [[ $cur == -* ]]; then\n"
            "        COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
            "        return\n"
            "    fi\n"
            "    case $subcommand in\n"
            "        '') COMPREPLY=($(compgen -W " + singleQuoted(commandWords) + " -- \"$cur\")) ;;\n";
  for (const auto& command : commandTable()) {
    if (command.name.empty()) continue;
    switch (command.completes) {
      case Completes::words:
        script += "        " + std::string(command.name) + ") COMPREPLY=($(compgen -W " +
                  singleQuoted(words(command)) + " -- \"$cur\")) ;;\n";
        break;
      case Completes::folders:
        script += "        " + std::string(command.name) + ") COMPREPLY=($(compgen -d -- \"$cur\")) ;;\n";
        break;
      case Completes::paths:
        script += "        " + std::string(command.name) + ") COMPREPLY=($(compgen -f -- \"$cur\")) ;;\n";
        break;
      case Completes::nothing:
        break;
    }
  }
  script += "        *) COMPREPLY=() ;;\n"
            "    esac\n"
            "}\n"
            "complete -F _tallyfin tallyfin\n";
  return script;
}

std::string zshCompletion() {
  std::string script = "#compdef tallyfin\n# zsh completion for tallyfin\n" + std::string(kHeader) +
                       "_tallyfin() {\n"
                       "  local subcommand word\n"
                       "  local -a entries\n"
                       "  for word in ${words[2,CURRENT-1]}; do\n"
                       "    case $word in\n"
                       "      (" + commandPattern() + ") subcommand=$word; break ;;\n"
                       "    esac\n"
                       "  done\n"
                       "  case ${words[CURRENT-1]} in\n"
                       "    (" + valueOptions(Completes::folders) + ") _files -/; return ;;\n"
                       "    (" + valueOptions(Completes::nothing) + ") _message 'a value'; return ;;\n"
                       "  esac\n"
                       "  if [[ ${words[CURRENT]} == -* ]]; then\n"
                       "    case $subcommand in\n";
  for (const auto& command : commandTable()) {
    auto options = optionsOf(command);
    if (command.name.empty()) {
      for (const auto& other : commandTable()) {
        if (other.name.starts_with("--")) options.push_back({other.name, "", other.summary});
      }
    }
    script += "      (" + (command.name.empty() ? std::string("''") : std::string(command.name)) + ") entries=(";
    for (const auto& option : options) script += " " + describeEntry(option.name, option.text);
    script += " ) ;;\n";
  }
  script += "    esac\n"
            "    _describe -t options option entries\n"
            "    return\n"
            "  fi\n"
            "  case $subcommand in\n"
            "    ('') entries=(";
  for (const auto& command : commandTable()) {
    if (!command.name.empty() && !command.name.starts_with("--")) {
      script += " " + describeEntry(command.name, command.summary);
    }
  }
  script += " )\n"
            "      _describe -t commands command entries ;;\n";
  for (const auto& command : commandTable()) {
    if (command.name.empty()) continue;
    switch (command.completes) {
      case Completes::words:
        script += "    (" + std::string(command.name) + ") compadd -- " + words(command) + " ;;\n";
        break;
      case Completes::folders:
        script += "    (" + std::string(command.name) + ") _files -/ ;;\n";
        break;
      case Completes::paths:
        script += "    (" + std::string(command.name) + ") _files ;;\n";
        break;
      case Completes::nothing:
        break;
    }
  }
  script += "  esac\n"
            "}\n"
            "_tallyfin \"$@\"\n";
  return script;
}

std::string fishCompletion() {
  std::vector<std::string> all;
  for (const auto& command : commandTable()) {
    if (!command.name.empty() && !command.name.starts_with("--")) all.emplace_back(command.name);
  }
  const std::string commands = joined(all);
  const std::string noCommand = "'not __fish_seen_subcommand_from " + commands + "'";
  std::string script = "# fish completion for tallyfin\n" + std::string(kHeader) + "complete -c tallyfin -f\n";
  for (const auto& command : commandTable()) {
    if (command.name.empty()) {
      for (const auto& option : optionsOf(command)) {
        const bool folder = option.value == "DIR" || option.value == "PATH";
        script += "complete -c tallyfin -l " + std::string(option.name.substr(2)) +
                  (option.value.empty() ? "" : " -r") + (folder ? " -a '(__fish_complete_directories)'" : "") +
                  " -d " + fishQuoted(option.text) + "\n";
      }
    } else if (command.name.starts_with("--")) {
      script += "complete -c tallyfin -n " + noCommand + " -l " + std::string(command.name.substr(2)) + " -d " +
                fishQuoted(command.summary) + "\n";
    } else {
      script += "complete -c tallyfin -n " + noCommand + " -a " + std::string(command.name) + " -d " +
                fishQuoted(command.summary) + "\n";
    }
    // A command word is a subcommand to fish; a command option is an option it has seen.
    const std::string when = fishQuoted(command.name.starts_with("--")
                                            ? "__fish_contains_opt " + std::string(command.name.substr(2))
                                            : "__fish_seen_subcommand_from " + std::string(command.name));
    for (const auto& option : command.options) {
      script += "complete -c tallyfin -n " + when + " -l " + std::string(option.name.substr(2)) + (option.value.empty() ? "" : " -r") + " -d " +
                fishQuoted(option.text) + "\n";
    }
    switch (command.completes) {
      case Completes::words:
        script += "complete -c tallyfin -n " + when + " -a " + fishQuoted(words(command)) + "\n";
        break;
      case Completes::folders:
        script += "complete -c tallyfin -n " + when + " -a '(__fish_complete_directories)'\n";
        break;
      case Completes::paths:
        script += "complete -c tallyfin -n " + when + " -F\n";
        break;
      case Completes::nothing:
        break;
    }
  }
  return script;
}

}  // namespace tallyfin::cli
