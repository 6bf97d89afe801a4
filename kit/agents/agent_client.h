#pragma once

// Connecting the MCP server to the assistants a user has: each assistant's own
// settings file is edited in place (with a dated backup, an atomic write and a
// check that nobody else changed it meanwhile), or Claude Code's own command runs.

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace tallyfin {

enum class AgentClient { claudeCode, claudeDesktop, cursor, codex, gemini, windsurf, vscode };

struct SetupError {
  enum class Kind { unreadable, hasComments, commandFailed, changedMeanwhile, needsCLI };
  Kind kind = Kind::unreadable;
  std::string detail;  // the config path, or the whole message of a failed command

  std::string message() const;
};

namespace AgentClients {

inline constexpr std::string_view kServerName = "tallyfin";
inline constexpr std::string_view kLegacyServerName = "moss-ledger";
inline constexpr double kClaudeTimeoutSeconds = 20;

const std::array<AgentClient, 7>& allCases();
std::string_view cliName(AgentClient client);
std::string_view title(AgentClient client);
std::optional<AgentClient> named(std::string_view cliName);

// "servers" for VS Code, "mcpServers" for the rest; Codex keeps a TOML table instead.
std::string_view serversKey(AgentClient client);
std::string configPath(AgentClient client, const std::string& home);

bool isInstalled(AgentClient client, const std::string& home);
bool isConnected(AgentClient client, const std::string& home);

// None when it worked.
std::optional<SetupError> connect(AgentClient client, const std::string& executable, const std::string& home);
std::optional<SetupError> disconnect(AgentClient client, const std::string& home);

// What the user can copy to do it by hand.
std::string manualCommand(AgentClient client, const std::string& executable);

// The claude command, looked for only where its installers put it.
std::optional<std::string> claudeCLI(const std::string& home);

}  // namespace AgentClients
}  // namespace tallyfin
