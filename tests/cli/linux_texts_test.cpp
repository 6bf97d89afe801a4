// What a Linux user reads never speaks of a Mac: the help, the man page, the
// summary's health line, notifications, the Trash's reasons, and what the MCP
// server tells assistants, read from the running server itself.

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <regex>
#include <sstream>

#include "cli/command_table.h"
#include "cli/man_page.h"
#include "kit/agents/agent_guide.h"
#include "kit/history/notification_policy.h"
#include "kit/store/disk_info.h"
#include "tests/cli/tallyfin_process.h"
#include "tests/support/temp_folder.h"
#include "tests/trash/trash_fixture.h"

namespace tallyfin {
namespace {

// "macOS", "Mac" as a word, and "Finder" (which Linux file managers are not).
const std::regex kMacWords(R"(macOS|\bMacs?\b|Mac's|Finder|Macintosh)");

void expectNoMac(const std::string& text, const std::string& where) {
  std::smatch match;
  EXPECT_FALSE(std::regex_search(text, match, kMacWords)) << where << " says \"" << match.str() << "\":\n" << text;
}

TEST(LinuxTexts, HelpManPageAndAgentGuide) {
  expectNoMac(cli::helpText(), "--help");
  for (const auto& command : cli::commandTable()) {
    expectNoMac(cli::commandHelpText(command), std::string(command.name) + " --help");
  }
  expectNoMac(cli::manPage(), "the man page");
  expectNoMac(AgentGuide::markdown("/usr/bin/tallyfin"), "the agent guide");
}

TEST(LinuxTexts, HealthNotificationsAndTrashReasons) {
  for (const auto health : {DiskHealth::gettingFull, DiskHealth::critical}) {
    const std::string text = healthExplanation(health);
    EXPECT_FALSE(text.empty());
    expectNoMac(text, "the health line");
  }
  EXPECT_EQ(healthExplanation(DiskHealth::gettingFull), "Less than 20% free \u2014 Linux slows down as the disk fills.");
  ScanFacts facts;
  facts.total = 100'000'000'000;
  facts.free = 2'000'000'000;
  const auto [notification, state] = NotificationPolicy(NotificationSettings{}).decide(facts, {}, 1'800'000'000);
  ASSERT_TRUE(notification.has_value());
  expectNoMac(notification->title + " " + notification->body, "the low-space notification");

  testing::TempHome home;
  const TrashService trash = home.service();
  for (const std::string path : {"/media/usb/x", "/tmp/x"}) {
    const auto reason = trash.refusal(path, TrashItem::Origin::userChoice);
    ASSERT_TRUE(reason.has_value());
    expectNoMac(*reason, "the refusal of " + path);
  }
}

TEST(LinuxTexts, TheRunningMcpServersInstructionsAndTools) {
  testing::TempFolder home;
  const std::string requests =
      R"({"jsonrpc":"2.0","id":1,"method":"initialize","params":{"protocolVersion":"2025-06-18","capabilities":{},"clientInfo":{"name":"t","version":"1"}}})"
      "\n"
      R"({"jsonrpc":"2.0","method":"notifications/initialized"})"
      "\n"
      R"({"jsonrpc":"2.0","id":2,"method":"tools/list"})"
      "\n";
  testing::writeText(home / "requests", requests);
  const auto run = testing::runShell(std::string(TALLYFIN_BINARY) + " mcp < " + home / "requests", home.path());
  ASSERT_EQ(run.exitCode, 0) << run.err;
  std::istringstream lines(run.out);
  std::string line;
  nlohmann::json initialize, tools;
  while (std::getline(lines, line)) {
    const auto answer = nlohmann::json::parse(line);
    (answer["id"] == 1 ? initialize : tools) = answer;
  }
  const std::string instructions = initialize["result"]["instructions"];
  EXPECT_FALSE(instructions.empty());
  expectNoMac(instructions, "the server's instructions");
  ASSERT_GE(tools["result"]["tools"].size(), 10u) << run.out;
  for (const auto& tool : tools["result"]["tools"]) {
    expectNoMac(tool.dump(), "the tool " + tool["name"].get<std::string>());
  }
}

}  // namespace
}  // namespace tallyfin
