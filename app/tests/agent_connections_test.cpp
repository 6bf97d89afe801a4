// Connecting assistants from the app, against settings files in a temp home: the
// same edits, backups and refusals as `tallyfin connect`, off the main thread.

#include "app/model/agent_connections.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "app/tests/app_home.h"
#include "tests/support/temp_folder.h"

namespace tallyfin::app {
namespace {

using testing::AppHome;
using testing::eventually;

class Agents : public ::testing::Test {
 protected:
  Agents() {
    agents.onNotice = [this](const std::string& text, bool success) {
      notices.push_back(text);
      lastSucceeded = success;
    };
  }

  const AgentConnections::Client& state(AgentClient client) const {
    for (const auto& each : agents.clients()) {
      if (each.client == client) return each;
    }
    throw std::logic_error("client not listed");
  }

  // Runs one change and waits until it is over.
  void change(AgentClient client, bool connect) {
    connect ? agents.connectClient(client) : agents.disconnectClient(client);
    ASSERT_TRUE(agents.busy().has_value());
    ASSERT_TRUE(eventually([&] { return !agents.busy(); }));
  }

  // The backups of `file` made so far.
  static std::vector<std::string> backups(const std::string& file) {
    std::vector<std::string> found;
    const std::filesystem::path path(file);
    for (const auto& entry : std::filesystem::directory_iterator(path.parent_path())) {
      if (entry.path().filename().string().starts_with(path.filename().string() + ".tallyfin-backup-")) {
        found.push_back(entry.path());
      }
    }
    return found;
  }

  AppHome home;
  AgentConnections agents{home.path(), "/opt/Tallyfin Tools/bin/tallyfin"};
  std::vector<std::string> notices;
  bool lastSucceeded = false;
};

TEST_F(Agents, ConnectThenDisconnectLeavesTheFileAsItWasWithItsBackup) {
  const std::string cursor = AgentClients::configPath(AgentClient::cursor, home.path());
  const std::string before = "{\n  \"mcpServers\": {\n    \"other\": {\n      \"command\": \"x\"\n    }\n  },\n"
                             "  \"theme\": \"dark\"\n}";
  tallyfin::testing::writeText(cursor, before);
  agents.refresh();
  ASSERT_TRUE(eventually([&] { return agents.hasLoaded() && !agents.isLoading(); }));
  ASSERT_EQ(agents.clients().size(), 7u);
  EXPECT_TRUE(state(AgentClient::cursor).installed);
  EXPECT_FALSE(state(AgentClient::cursor).connected);
  EXPECT_FALSE(state(AgentClient::windsurf).installed);

  change(AgentClient::cursor, true);
  EXPECT_TRUE(state(AgentClient::cursor).connected);
  EXPECT_TRUE(lastSucceeded);
  EXPECT_EQ(notices.back(), "Cursor is connected to Tallyfin. Restart Cursor to use it.");
  const auto connected = nlohmann::json::parse(tallyfin::testing::readText(cursor));
  EXPECT_EQ(connected["mcpServers"]["tallyfin"]["command"], "/opt/Tallyfin Tools/bin/tallyfin");
  EXPECT_EQ(connected["theme"], "dark");
  ASSERT_EQ(backups(cursor).size(), 1u);
  EXPECT_EQ(tallyfin::testing::readText(backups(cursor).front()), before);

  change(AgentClient::cursor, false);
  EXPECT_FALSE(state(AgentClient::cursor).connected);
  EXPECT_EQ(notices.back(), "Cursor no longer uses Tallyfin.");
  // The same JSON as before; one backup a day, still the first one.
  EXPECT_EQ(nlohmann::json::parse(tallyfin::testing::readText(cursor)), nlohmann::json::parse(before));
  ASSERT_EQ(backups(cursor).size(), 1u);
  EXPECT_EQ(tallyfin::testing::readText(backups(cursor).front()), before);
  EXPECT_FALSE(agents.failure().has_value());
}

TEST_F(Agents, ACodexBlockComesAndGoesAndANewFileIsPrivate) {
  const std::string codex = AgentClients::configPath(AgentClient::codex, home.path());
  change(AgentClient::codex, true);
  EXPECT_TRUE(state(AgentClient::codex).connected);
  EXPECT_TRUE(state(AgentClient::codex).installed);  // its folder exists now
  EXPECT_EQ(std::filesystem::status(codex).permissions() & std::filesystem::perms::all,
            std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
  EXPECT_TRUE(backups(codex).empty());  // nothing was there to keep
  change(AgentClient::codex, false);
  EXPECT_FALSE(state(AgentClient::codex).connected);
  EXPECT_EQ(tallyfin::testing::readText(codex).find("tallyfin"), std::string::npos);
}

TEST_F(Agents, ARefusedEditLeavesTheFileAndOffersTheEntryByHand) {
  const std::string vscode = AgentClients::configPath(AgentClient::vscode, home.path());
  const std::string commented = "{\n  // mine\n  \"servers\": {}\n}\n";
  tallyfin::testing::writeText(vscode, commented);
  change(AgentClient::vscode, true);
  ASSERT_TRUE(agents.failure().has_value());
  EXPECT_EQ(agents.failure()->client, AgentClient::vscode);
  EXPECT_EQ(agents.failure()->message,
            vscode + " has comments, and rewriting it would drop them. Add the entry by hand \u2014 use Copy.");
  ASSERT_TRUE(agents.failure()->manualCommand.has_value());
  const auto entry = nlohmann::json::parse(*agents.failure()->manualCommand);
  EXPECT_EQ(entry["servers"]["tallyfin"]["type"], "stdio");
  EXPECT_FALSE(lastSucceeded);
  EXPECT_EQ(tallyfin::testing::readText(vscode), commented);
  EXPECT_TRUE(backups(vscode).empty());
  EXPECT_FALSE(state(AgentClient::vscode).connected);

  // Without a claude command Claude Code can only be connected by hand.
  change(AgentClient::claudeCode, true);
  ASSERT_TRUE(agents.failure().has_value());
  EXPECT_EQ(agents.failure()->message, "The claude command wasn't found. Copy the command and run it in Terminal.");
  EXPECT_EQ(*agents.failure()->manualCommand,
            "claude mcp add --scope user tallyfin -- '/opt/Tallyfin Tools/bin/tallyfin' mcp");
}

TEST_F(Agents, ClaudeCodeIsConnectedThroughItsOwnCommand) {
  // A claude that records what it was asked, where its installer would put it.
  const std::string log = home / "claude.log";
  const std::string claude = home / ".local/bin/claude";
  tallyfin::testing::writeText(claude, "#!/bin/sh\necho \"$@\" >> '" + log + "'\n");
  tallyfin::testing::setMode(claude, 0755);
  change(AgentClient::claudeCode, true);
  EXPECT_FALSE(agents.failure().has_value()) << agents.failure()->message;
  EXPECT_EQ(tallyfin::testing::readText(log),
            "mcp remove --scope user moss-ledger\n"
            "mcp add --scope user tallyfin -- /opt/Tallyfin Tools/bin/tallyfin mcp\n");
  EXPECT_TRUE(state(AgentClient::claudeCode).installed);

  // A claude that fails is reported with the command to run by hand.
  tallyfin::testing::writeText(claude, "#!/bin/sh\nexit 3\n");
  change(AgentClient::claudeCode, false);
  ASSERT_TRUE(agents.failure().has_value());
  EXPECT_EQ(agents.failure()->message,
            "`claude mcp remove --scope user tallyfin` didn't succeed. Copy the command and run it in Terminal.");
}

TEST_F(Agents, AChangeWhileAnotherRunsIsIgnored) {
  agents.connectClient(AgentClient::gemini);
  agents.connectClient(AgentClient::windsurf);
  EXPECT_EQ(agents.busy(), AgentClient::gemini);
  ASSERT_TRUE(eventually([&] { return !agents.busy(); }));
  EXPECT_TRUE(state(AgentClient::gemini).connected);
  EXPECT_FALSE(state(AgentClient::windsurf).connected);
  EXPECT_FALSE(std::filesystem::exists(AgentClients::configPath(AgentClient::windsurf, home.path())));
}

}  // namespace
}  // namespace tallyfin::app
