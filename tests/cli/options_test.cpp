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

TEST(Options, SubcommandsOnlyInFirstPlace) {
  EXPECT_EQ(parseOptions({"mcp"})->command, Options::Command::mcp);
  EXPECT_EQ(parseOptions({"connect", "codex"})->client, "codex");
  EXPECT_FALSE(parseOptions({"--json", "mcp"}).ok());
  EXPECT_FALSE(parseOptions({"--store", "--json"}).ok());  // a value, not the next option
  EXPECT_FALSE(parseOptions({"--top", "100001"}).ok());
  EXPECT_FALSE(parseOptions({"--top", "5x"}).ok());
  EXPECT_EQ(parseOptions({"--top", "0"})->top, 0);
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

}  // namespace
}  // namespace tallyfin::cli
