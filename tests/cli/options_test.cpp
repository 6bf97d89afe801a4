#include "cli/options.h"

#include <gtest/gtest.h>

#include "cli/text_layout.h"

namespace tallyfin::cli {
namespace {

TEST(Options, CombineFreely) {
  const auto options =
      parseOptions({"--json", "--top", "5", "--store", "/tmp/s", "--root", "/srv"});
  ASSERT_TRUE(options.ok()) << options.error();
  EXPECT_TRUE(options->json);
  EXPECT_EQ(options->top, 5);
  EXPECT_EQ(options->store, "/tmp/s");
  EXPECT_EQ(options->root, "/srv");
  EXPECT_EQ(options->command, Options::Command::scan);
}

TEST(Options, GlobalOptionsStandBeforeOrAfterTheCommand) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{
           {"--store", "/tmp/s", "mcp", "--root", "/srv"}, {"mcp", "--store", "/tmp/s", "--root", "/srv"},
           {"--root", "/srv", "--store", "/tmp/s", "mcp"}}) {
    const auto options = parseOptions(arguments);
    ASSERT_TRUE(options.ok()) << options.error();
    EXPECT_EQ(options->command, Options::Command::mcp);
    EXPECT_EQ(options->store, "/tmp/s");
    EXPECT_EQ(options->root, "/srv");
  }
  const auto connect = parseOptions({"--help", "connect", "codex"});
  EXPECT_EQ(connect->command, Options::Command::connect);
  EXPECT_TRUE(connect->commandHelp);
  EXPECT_EQ(parseOptions({"connect", "codex"})->client, "codex");
  const auto history = parseOptions({"--json", "--top", "3", "history", "--store", "/tmp/s"});
  ASSERT_TRUE(history.ok()) << history.error();
  EXPECT_EQ(history->command, Options::Command::history);
  EXPECT_EQ(history->top, 3);
  EXPECT_TRUE(history->json);
}

TEST(Options, WhatDoesNotFitTheCommandIsNamed) {
  EXPECT_EQ(parseOptions({"--json", "frobnicate"}).error(), "unknown command frobnicate (tallyfin --help lists them)");
  EXPECT_EQ(parseOptions({"history", "--frobnicate"}).error(), "unknown option --frobnicate");
  EXPECT_EQ(parseOptions({"mcp", "--json"}).error(), "--json does not go with mcp (tallyfin mcp --help)");
  EXPECT_EQ(parseOptions({"--root", "/srv", "history"}).error(),
            "--root does not go with history (tallyfin history --help)");
  EXPECT_EQ(parseOptions({"trash", "--top", "3"}).error(), "--top does not go with trash (tallyfin trash --help)");
  EXPECT_EQ(parseOptions({"history", "trash"}).error(), "history takes no arguments, not trash");
  EXPECT_EQ(parseOptions({"--apps", "--duplicates"}).error(), "--apps and --duplicates are two commands \u2014 give one");
  EXPECT_EQ(parseOptions({"undo", "b1", "b2"}).error(), "undo takes one [BATCH], not b2");
  EXPECT_EQ(parseOptions({"connect"}).error(), "connect needs a client name");
  EXPECT_EQ(parseOptions({"keep", "--remove"}).error(), "keep --remove needs the paths to take off");
  EXPECT_EQ(parseOptions({"--remove", "/x"}).error(), "--remove goes with keep");
  EXPECT_EQ(parseOptions({"--root", ""}).error(), "--root needs a folder; an empty path names none");
  EXPECT_EQ(parseOptions({"--store", ""}).error(), "--store needs a folder; an empty path names none");
  EXPECT_FALSE(parseOptions({"--store", "--json"}).ok());  // a value, not the next option
  EXPECT_FALSE(parseOptions({"--top", "100001"}).ok());
  EXPECT_FALSE(parseOptions({"--top", "5x"}).ok());
  EXPECT_EQ(parseOptions({"--top", "0"})->top, 0);
}

TEST(Options, UndoKeepAndVersion) {
  EXPECT_FALSE(parseOptions({"undo"})->batch.has_value());
  EXPECT_EQ(parseOptions({"undo", "--json", "b17-x"})->batch, "b17-x");
  const auto keep = parseOptions({"keep", "~/a", "--remove", "b"});
  ASSERT_TRUE(keep.ok()) << keep.error();
  EXPECT_EQ(keep->paths, (std::vector<std::string>{"~/a", "b"}));
  EXPECT_TRUE(keep->remove);
  // A path that happens to be called like a command is still a path.
  EXPECT_EQ(parseOptions({"keep", "history"})->paths, std::vector<std::string>{"history"});
  EXPECT_EQ(parseOptions({"history", "--version"})->command, Options::Command::version);
  EXPECT_EQ(parseOptions({"--version"})->command, Options::Command::version);
  EXPECT_EQ(parseOptions({"--help"})->command, Options::Command::help);
  EXPECT_FALSE(parseOptions({"--help"})->commandHelp);
}

TEST(Options, ScheduleAndAutopilotTakeOneChoiceOrNone) {
  EXPECT_FALSE(parseOptions({"schedule"})->schedule.has_value());
  EXPECT_EQ(parseOptions({"schedule", "weekly", "--json"})->schedule, "weekly");
  EXPECT_FALSE(parseOptions({"schedule", "hourly"}).ok());
  EXPECT_FALSE(parseOptions({"schedule", "daily", "--store", "/tmp/s"}).ok());
  EXPECT_EQ(parseOptions({"--json", "schedule", "daily"})->schedule, "daily");

  EXPECT_FALSE(parseOptions({"autopilot"})->autopilotDays.has_value());
  EXPECT_EQ(parseOptions({"autopilot", "off"})->autopilotDays, 0);
  EXPECT_EQ(parseOptions({"autopilot", "14"})->autopilotDays, 14);
  EXPECT_EQ(parseOptions({"autopilot", "90"})->autopilotDays, 90);
  for (const char* bad : {"13", "91", "0", "on", "30d", "-30"}) {
    EXPECT_FALSE(parseOptions({"autopilot", bad}).ok()) << bad;
  }
}

TEST(Options, DuplicatesTakeAFolderASizeFloorAndFullHashes) {
  const auto scanFiles = parseOptions({"--duplicates", "--json"});
  ASSERT_TRUE(scanFiles.ok()) << scanFiles.error();
  EXPECT_EQ(scanFiles->command, Options::Command::duplicates);
  EXPECT_FALSE(scanFiles->folder.has_value());
  EXPECT_FALSE(scanFiles->minimumBytes.has_value());

  const auto folder = parseOptions({"--duplicates", "~/Downloads", "--min-size", "0.5", "--full"});
  ASSERT_TRUE(folder.ok()) << folder.error();
  EXPECT_EQ(folder->folder, "~/Downloads");
  EXPECT_EQ(folder->minimumBytes, 500'000);
  EXPECT_TRUE(folder->fullHash);

  EXPECT_FALSE(parseOptions({"--duplicates", "--min-size", "-1"}).ok());
  EXPECT_FALSE(parseOptions({"--duplicates", "--min-size", "nan"}).ok());
  EXPECT_FALSE(parseOptions({"--duplicates", "--min-size", "5MB"}).ok());
  EXPECT_FALSE(parseOptions({"--full"}).ok());  // only a duplicate search hashes
  EXPECT_FALSE(parseOptions({"--duplicates", "--no-scan"}).ok());
}

TEST(TextLayout, FitsByCharactersNeverSplittingOne) {
  EXPECT_EQ(fitWidth("short", 10), "short");
  EXPECT_EQ(fitWidth("abcdefghij", 5), "ab\u2026ij");
  EXPECT_EQ(fitWidth("\u00e9\u00e9\u00e9\u00e9\u00e9\u00e9", 4), "\u00e9\u2026\u00e9\u00e9");
  EXPECT_EQ(column("ab", 4), "ab  ");
  EXPECT_EQ(groupedNumber(975860), "975,860");
  EXPECT_EQ(groupedNumber(999), "999");
  EXPECT_EQ(groupedNumber(1000000), "1,000,000");
}

TEST(TextLayout, NamesCannotSteerTheTerminal) {
  // A title-setting sequence, a bell and a line break in a folder's name.
  EXPECT_EQ(terminalSafe("evil\x1b]0;pwned\x07\nrm -rf ~"), "evil\\e]0;pwned?\\nrm -rf ~");
  EXPECT_EQ(terminalSafe("a\tb\rc\x7f\x01"), "a\\tb\\rc??");
  // C1 controls (CSI as one code point), separators and bidirectional overrides.
  EXPECT_EQ(terminalSafe("x\u009b31my\u2028z\u202egnp.exe"), "x?31my?z?gnp.exe");
  // Bytes that are not UTF-8: a lone Latin-1 byte, a cut sequence, an overlong slash, a surrogate.
  EXPECT_EQ(terminalSafe("caf\xe9 \xe2\x82 \xc0\xaf \xed\xa0\x80"), "caf? ?? ?? ???");
  // Everything else passes as it is.
  EXPECT_EQ(terminalSafe("~/Library/Caches/\u00e9t\u00e9 \U0001F600 \\e"), "~/Library/Caches/\u00e9t\u00e9 \U0001F600 \\e");
}

}  // namespace
}  // namespace tallyfin::cli
