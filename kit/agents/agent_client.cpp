#include "kit/agents/agent_client.h"

#include <sys/stat.h>
#include <unistd.h>

#include <vector>

#include <nlohmann/json.hpp>

#include "kit/agents/config_file.h"
#include "kit/agents/config_text.h"
#include "kit/base/paths.h"
#include "kit/base/small_file.h"
#include "kit/base/text.h"
#include "kit/platform/probe_environment.h"
#include "kit/platform/spawned.h"

namespace tallyfin {
namespace {

using nlohmann::json;


struct ClientFacts {
  AgentClient client;
  std::string_view cliName;
  std::string_view title;
  std::string_view configBelowHome;
};

// Claude Desktop and VS Code keep their settings under ~/.config on Linux.
constexpr std::array<ClientFacts, 7> kClients = {{
    {AgentClient::claudeCode, "claude-code", "Claude Code", "/.claude.json"},
    {AgentClient::claudeDesktop, "claude-desktop", "Claude Desktop",
#ifdef __APPLE__
     "/Library/Application Support/Claude/claude_desktop_config.json"},
#else
     "/.config/Claude/claude_desktop_config.json"},
#endif
    {AgentClient::cursor, "cursor", "Cursor", "/.cursor/mcp.json"},
    {AgentClient::codex, "codex", "Codex", "/.codex/config.toml"},
    {AgentClient::gemini, "gemini", "Gemini CLI", "/.gemini/settings.json"},
    {AgentClient::windsurf, "windsurf", "Windsurf", "/.codeium/windsurf/mcp_config.json"},
    {AgentClient::vscode, "vscode", "VS Code (Copilot)",
#ifdef __APPLE__
     "/Library/Application Support/Code/User/mcp.json"},
#else
     "/.config/Code/User/mcp.json"},
#endif
}};

const ClientFacts& facts(AgentClient client) { return kClients[static_cast<size_t>(client)]; }

std::string pretty(const json& value) { return value.dump(2, ' ', false, json::error_handler_t::replace) + "\n"; }

json entry(AgentClient client, const std::string& executable) {
  json value = {{"command", executable}, {"args", json::array({"mcp"})}};
  if (client == AgentClient::vscode) value["type"] = "stdio";
  return value;
}

// The file's JSON object, or why it cannot be edited.
std::optional<SetupError> readObject(const ConfigFile::Target& target, json& object) {
  if (!target.data || target.data->empty()) {
    object = json::object();
    return std::nullopt;
  }
  object = json::parse(*target.data, nullptr, false);
  if (object.is_object()) return std::nullopt;
  if (ConfigText::withoutComments(*target.data) != *target.data) {
    return SetupError{SetupError::Kind::hasComments, target.path};
  }
  auto relaxed = ConfigText::parseJSONC(*target.data);
  if (!relaxed) return SetupError{SetupError::Kind::unreadable, target.path};
  object = std::move(*relaxed);
  return std::nullopt;
}

std::optional<SetupError> editServers(AgentClient client, const std::string& home, const std::optional<json>& value) {
  const ConfigFile::Target file = ConfigFile::read(AgentClients::configPath(client, home));
  json object;
  if (auto error = readObject(file, object)) return error;
  const std::string key(AgentClients::serversKey(client));
  json servers = object.contains(key) && object[key].is_object() ? object[key] : json::object();
  servers.erase(std::string(AgentClients::kLegacyServerName));
  servers.erase(std::string(AgentClients::kServerName));
  if (value) servers[std::string(AgentClients::kServerName)] = *value;
  object[key] = std::move(servers);
  return ConfigFile::commit(pretty(object), file);
}

std::string codexBlock(const std::string& executable) {
  return std::string(ConfigText::kBlockStart) + "\n[mcp_servers.tallyfin]\ncommand = " +
         ConfigText::tomlString(executable) + "\nargs = [\"mcp\"]\n" + std::string(ConfigText::kBlockEnd);
}

std::optional<SetupError> editCodex(const std::string& home, const std::optional<std::string>& executable) {
  const ConfigFile::Target file = ConfigFile::read(AgentClients::configPath(AgentClient::codex, home));
  const std::string rest(trimmed(ConfigText::removingTOMLSection(file.data.value_or("")), "\n"));
  std::string text;
  if (!executable) {
    text = rest.empty() ? "" : rest + "\n";
  } else {
    text = rest.empty() ? codexBlock(*executable) + "\n" : rest + "\n\n" + codexBlock(*executable) + "\n";
  }
  return ConfigFile::commit(text, file);
}

std::optional<SetupError> runClaude(const std::vector<std::string>& arguments, const std::string& home) {
  const auto claude = AgentClients::claudeCLI(home);
  if (!claude) return SetupError{SetupError::Kind::needsCLI, {}};
  std::vector<std::string> environment = probeEnvironment(home);
  environment[0] = "PATH=" + std::string(parentPath(*claude)) + ":/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin";
  const auto run = runTool(*claude, arguments, environment, AgentClients::kClaudeTimeoutSeconds);
  if (run.succeeded() && run.output.size() < Spawned::kMaxOutput) return std::nullopt;
  std::string command = "claude";
  for (const auto& argument : arguments) command += " " + argument;
  return SetupError{SetupError::Kind::commandFailed,
                    "`" + command + "` didn't succeed. Copy the command and run it in Terminal."};
}

void removeLegacyClaudeEntries(const std::string& home) {
  (void)runClaude({"mcp", "remove", "--scope", "user", std::string(AgentClients::kLegacyServerName)}, home);
}

}  // namespace

std::string SetupError::message() const {
  switch (kind) {
    case Kind::unreadable:
      return "Couldn't read " + detail + " \u2014 it isn't valid JSON. Add the entry by hand \u2014 use Copy.";
    case Kind::hasComments:
      return detail + " has comments, and rewriting it would drop them. Add the entry by hand \u2014 use Copy.";
    case Kind::commandFailed:
      return detail;
    case Kind::changedMeanwhile:
      return detail + " changed while Tallyfin was editing it. Try again.";
    case Kind::needsCLI:
      return "The claude command wasn't found. Copy the command and run it in Terminal.";
  }
  return detail;
}

namespace AgentClients {

const std::array<AgentClient, 7>& allCases() {
  static constexpr std::array<AgentClient, 7> kAll = {AgentClient::claudeCode, AgentClient::claudeDesktop,
                                                      AgentClient::cursor,     AgentClient::codex,
                                                      AgentClient::gemini,     AgentClient::windsurf,
                                                      AgentClient::vscode};
  return kAll;
}

std::string_view cliName(AgentClient client) { return facts(client).cliName; }
std::string_view title(AgentClient client) { return facts(client).title; }

std::optional<AgentClient> named(std::string_view name) {
  for (const auto& client : kClients) {
    if (client.cliName == name) return client.client;
  }
  return std::nullopt;
}

std::string_view serversKey(AgentClient client) { return client == AgentClient::vscode ? "servers" : "mcpServers"; }

std::string configPath(AgentClient client, const std::string& home) {
  return home + std::string(facts(client).configBelowHome);
}

bool isInstalled(AgentClient client, const std::string& home) {
  struct stat info;
  const std::string folder(parentPath(configPath(client, home)));
  if (::stat(folder.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && folder != home) return true;
  // ~/.claude.json sits in home itself; Claude Code shows by its command or its own folder.
  if (client != AgentClient::claudeCode) return false;
  return claudeCLI(home).has_value() || (::stat((home + "/.claude").c_str(), &info) == 0 && S_ISDIR(info.st_mode));
}

bool isConnected(AgentClient client, const std::string& home) {
  const auto text = readSmallFile(configPath(client, home), ConfigFile::kLargestConfig);
  if (!text) return false;
  if (client == AgentClient::codex) return ConfigText::tomlHasServer(*text);
  const auto object = ConfigText::parseJSONC(*text);
  const std::string key(serversKey(client));
  return object && object->contains(key) && (*object)[key].is_object() &&
         (*object)[key].contains(std::string(kServerName));
}

std::optional<SetupError> connect(AgentClient client, const std::string& executable, const std::string& home) {
  switch (client) {
    case AgentClient::claudeCode:
      removeLegacyClaudeEntries(home);
      return runClaude({"mcp", "add", "--scope", "user", std::string(kServerName), "--", executable, "mcp"}, home);
    case AgentClient::codex:
      return editCodex(home, executable);
    default:
      return editServers(client, home, entry(client, executable));
  }
}

std::optional<SetupError> disconnect(AgentClient client, const std::string& home) {
  switch (client) {
    case AgentClient::claudeCode: {
      auto failed = runClaude({"mcp", "remove", "--scope", "user", std::string(kServerName)}, home);
      removeLegacyClaudeEntries(home);
      return failed;
    }
    case AgentClient::codex:
      return editCodex(home, std::nullopt);
    default:
      return editServers(client, home, std::nullopt);
  }
}

std::string manualCommand(AgentClient client, const std::string& executable) {
  switch (client) {
    case AgentClient::claudeCode:
      return "claude mcp add --scope user tallyfin -- " + shellQuoted(executable) + " mcp";
    case AgentClient::codex:
      return codexBlock(executable);
    default:
      return json({{std::string(serversKey(client)), {{std::string(kServerName), entry(client, executable)}}}})
          .dump(2, ' ', false, json::error_handler_t::replace);
  }
}

std::optional<std::string> claudeCLI(const std::string& home) {
  return firstExecutable({home + "/.local/bin/claude", home + "/.claude/local/claude", "/opt/homebrew/bin/claude",
                          "/usr/local/bin/claude"});
}

}  // namespace AgentClients
}  // namespace tallyfin
