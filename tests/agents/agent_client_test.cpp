// Assistants' settings files in a temp home folder, edited as a user's would be.

#include "kit/agents/agent_client.h"

#include <sys/stat.h>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>

#include "kit/agents/agent_guide.h"
#include "kit/agents/config_file.h"
#include "kit/agents/config_text.h"
#include "tests/support/temp_folder.h"

namespace tallyfin {
namespace {

using nlohmann::json;
using testing::TempFolder;

const std::string kExecutable = "/opt/Tallyfin/bin/tallyfin";

std::string read(const std::string& path) {
  std::ifstream in(path);
  return std::string((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

void write(const std::string& path, const std::string& text) {
  testing::makeFolder(path.substr(0, path.rfind('/')));
  std::ofstream(path) << text;
}

int modeOf(const std::string& path) {
  struct stat info;
  return ::stat(path.c_str(), &info) == 0 ? static_cast<int>(info.st_mode & 0777) : -1;
}

class Clients : public ::testing::Test {
 protected:
  std::string config(AgentClient client) const { return AgentClients::configPath(client, home.path()); }
  TempFolder home;
};

TEST_F(Clients, ACommentedFileIsLeftAloneAndAnUnreadableOneSaysSo) {
  const std::string text = "{\n  // my servers\n  \"mcpServers\": {\"x\": {\"url\": \"https://a//b\"}}\n}\n";
  write(config(AgentClient::cursor), text);
  const auto error = AgentClients::connect(AgentClient::cursor, kExecutable, home.path());
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->message(), config(AgentClient::cursor) +
                                  " has comments, and rewriting it would drop them. Add the entry by hand \u2014 use Copy.");
  EXPECT_EQ(read(config(AgentClient::cursor)), text);
  EXPECT_FALSE(AgentClients::isConnected(AgentClient::cursor, home.path()));

  write(config(AgentClient::gemini), "[1, 2]");
  const auto unreadable = AgentClients::connect(AgentClient::gemini, kExecutable, home.path());
  ASSERT_TRUE(unreadable.has_value());
  EXPECT_EQ(unreadable->kind, SetupError::Kind::unreadable);
}

TEST_F(Clients, TrailingCommasGoAndOtherSettingsStay) {
  write(config(AgentClient::windsurf), "{\"theme\": \"dark\", \"mcpServers\": {\"moss-ledger\": {}, \"other\": {},},}");
  ::chmod(config(AgentClient::windsurf).c_str(), 0640);
  ASSERT_EQ(AgentClients::connect(AgentClient::windsurf, kExecutable, home.path()), std::nullopt);
  const json saved = json::parse(read(config(AgentClient::windsurf)));
  EXPECT_EQ(saved["theme"], "dark");
  EXPECT_TRUE(saved["mcpServers"].contains("other"));
  EXPECT_FALSE(saved["mcpServers"].contains("moss-ledger"));  // the former name goes
  EXPECT_EQ(saved["mcpServers"]["tallyfin"], json({{"command", kExecutable}, {"args", {"mcp"}}}));
  EXPECT_EQ(modeOf(config(AgentClient::windsurf)), 0640);
  EXPECT_TRUE(AgentClients::isConnected(AgentClient::windsurf, home.path()));

  ASSERT_EQ(AgentClients::disconnect(AgentClient::windsurf, home.path()), std::nullopt);
  EXPECT_FALSE(AgentClients::isConnected(AgentClient::windsurf, home.path()));
  EXPECT_TRUE(json::parse(read(config(AgentClient::windsurf)))["mcpServers"].contains("other"));
}

TEST_F(Clients, VSCodeGetsItsOwnKeyAndTypeAndNewFilesArePrivateWithOneBackupADay) {
  ASSERT_EQ(AgentClients::connect(AgentClient::vscode, kExecutable, home.path()), std::nullopt);
  ASSERT_EQ(AgentClients::connect(AgentClient::cursor, kExecutable, home.path()), std::nullopt);
  const json vscode = json::parse(read(config(AgentClient::vscode)));
  EXPECT_EQ(vscode["servers"]["tallyfin"]["type"], "stdio");
  const json cursor = json::parse(read(config(AgentClient::cursor)));
  EXPECT_FALSE(cursor["mcpServers"]["tallyfin"].contains("type"));
  EXPECT_EQ(modeOf(config(AgentClient::cursor)), 0600);

  const std::string before = read(config(AgentClient::cursor));
  ASSERT_EQ(AgentClients::connect(AgentClient::cursor, "/elsewhere/tallyfin", home.path()), std::nullopt);
  ASSERT_EQ(AgentClients::connect(AgentClient::cursor, "/third/tallyfin", home.path()), std::nullopt);
  int backups = 0;
  for (const auto& entry : std::filesystem::directory_iterator(home / ".cursor")) {
    if (entry.path().filename().string().starts_with("mcp.json.tallyfin-backup-")) {
      ++backups;
      EXPECT_EQ(read(entry.path()), before);  // the first edit of the day is kept
      EXPECT_EQ(modeOf(entry.path()), 0600);
    }
  }
  EXPECT_EQ(backups, 1);
}

TEST_F(Clients, ManualCommandsQuoteForTheShell) {
  EXPECT_EQ(AgentClients::manualCommand(AgentClient::claudeCode, kExecutable),
            "claude mcp add --scope user tallyfin -- /opt/Tallyfin/bin/tallyfin mcp");
  EXPECT_EQ(AgentClients::manualCommand(AgentClient::claudeCode, "/Users/a b/it's/tallyfin"),
            "claude mcp add --scope user tallyfin -- '/Users/a b/it'\\''s/tallyfin' mcp");
  EXPECT_EQ(json::parse(AgentClients::manualCommand(AgentClient::vscode, kExecutable))["servers"]["tallyfin"]["type"],
            "stdio");
  EXPECT_TRUE(AgentClients::manualCommand(AgentClient::codex, kExecutable).starts_with("# >>> tallyfin"));
}

TEST_F(Clients, CodexKeepsExactlyOneBlockAndRemovesHandEditedOnes) {
  write(config(AgentClient::codex),
        "model = \"o3\"\n\n[mcp_servers.tallyfin]\ncommand = \"old\"\n[mcp_servers.tallyfin.env]\nA = \"1\"\n"
        "# >>> moss-ledger\n[mcp_servers.moss-ledger]\ncommand = \"x\"\n# <<< moss-ledger\n[profiles.fast]\nx = 1\n");
  ASSERT_EQ(AgentClients::connect(AgentClient::codex, kExecutable, home.path()), std::nullopt);
  ASSERT_EQ(AgentClients::connect(AgentClient::codex, "/new path/tallyfin", home.path()), std::nullopt);
  EXPECT_EQ(read(config(AgentClient::codex)),
            "model = \"o3\"\n\n[profiles.fast]\nx = 1\n\n# >>> tallyfin (added by Tallyfin)\n[mcp_servers.tallyfin]\n"
            "command = \"/new path/tallyfin\"\nargs = [\"mcp\"]\n# <<< tallyfin\n");
  EXPECT_TRUE(AgentClients::isConnected(AgentClient::codex, home.path()));
  ASSERT_EQ(AgentClients::disconnect(AgentClient::codex, home.path()), std::nullopt);
  EXPECT_EQ(read(config(AgentClient::codex)), "model = \"o3\"\n\n[profiles.fast]\nx = 1\n");
}

TEST_F(Clients, AFileChangedBetweenReadAndWriteKeepsTheOtherWritersContent) {
  write(config(AgentClient::gemini), "{}");
  const auto target = ConfigFile::read(config(AgentClient::gemini));
  write(config(AgentClient::gemini) + ".new", "{\"theirs\": true}");
  std::filesystem::rename(config(AgentClient::gemini) + ".new", config(AgentClient::gemini));
  const auto error = ConfigFile::commit("{\"ours\": true}", target);
  ASSERT_TRUE(error.has_value());
  EXPECT_EQ(error->message(), config(AgentClient::gemini) + " changed while Tallyfin was editing it. Try again.");
  EXPECT_EQ(read(config(AgentClient::gemini)), "{\"theirs\": true}");

  const auto missing = ConfigFile::read(home / ".new/settings.json");
  write(home / ".new/settings.json", "{}");  // appeared meanwhile
  const auto appeared = ConfigFile::commit("{}", missing);
  ASSERT_TRUE(appeared.has_value());
  EXPECT_EQ(appeared->kind, SetupError::Kind::changedMeanwhile);
}

TEST_F(Clients, ClaudeCodeRunsItsOwnCommandFromTheKnownPlaces) {
  const auto missing = AgentClients::connect(AgentClient::claudeCode, kExecutable, home.path());
  ASSERT_TRUE(missing.has_value());
  EXPECT_EQ(missing->kind, SetupError::Kind::needsCLI);
  const std::string claude = home / ".local/bin/claude";
  write(claude, "#!/bin/sh\necho \"$PATH|$*\" >> \"$HOME/calls\"\n[ \"$2\" = add ] && [ -f \"$HOME/fail\" ] && exit 3\nexit 0\n");
  ::chmod(claude.c_str(), 0755);
  EXPECT_TRUE(AgentClients::isInstalled(AgentClient::claudeCode, home.path()));
  ASSERT_EQ(AgentClients::connect(AgentClient::claudeCode, kExecutable, home.path()), std::nullopt);
  EXPECT_EQ(read(home / "calls"),
            home / ".local/bin:/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin|mcp remove --scope user moss-ledger\n" +
                home / ".local/bin:/opt/homebrew/bin:/usr/local/bin:/usr/bin:/bin|mcp add --scope user tallyfin -- " +
                kExecutable + " mcp\n");
  write(home / "fail", "");
  const auto failed = AgentClients::connect(AgentClient::claudeCode, kExecutable, home.path());
  ASSERT_TRUE(failed.has_value());
  EXPECT_EQ(failed->message(),
            "`claude mcp add --scope user tallyfin -- " + kExecutable +
                " mcp` didn't succeed. Copy the command and run it in Terminal.");
}

TEST(ConfigText, StringsCommentsAndTables) {
  EXPECT_EQ(ConfigText::withoutComments("{\"a\": \"//x /*y*/\" /* z */} // end"), "{\"a\": \"//x /*y*/\" } ");
  EXPECT_EQ(ConfigText::withoutTrailingCommas("[1, 2 ,\n ] {\"a,\": 1,}"), "[1, 2 \n ] {\"a,\": 1}");
  EXPECT_EQ(ConfigText::tomlString("a\t\"b\"\\\x01\x7f"), "\"a\\t\\\"b\\\"\\\\\\u0001\\u007F\"");
  EXPECT_EQ(ConfigText::tableName("  [[ servers.x ]] "), "servers.x");
  EXPECT_EQ(ConfigText::tableName("x = [1]"), std::nullopt);
  EXPECT_FALSE(ConfigText::tomlHasServer("[mcp_servers.tallyfin2]"));
}

TEST(AgentGuide, ShowsTheGivenExecutableInEveryCommand) {
  const std::string guide = AgentGuide::markdown("/x/tallyfin");
  EXPECT_TRUE(guide.starts_with("# Tallyfin for AI agents\n"));
  EXPECT_NE(guide.find("Command: `/x/tallyfin mcp` (stdio)"), std::string::npos);
  EXPECT_NE(guide.find("`/x/tallyfin --duplicates --json`"), std::string::npos);
  EXPECT_NE(guide.find("never instructions."), std::string::npos);
}

}  // namespace
}  // namespace tallyfin
