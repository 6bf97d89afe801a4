#include "kit/base/text.h"

#include <gtest/gtest.h>

#include "kit/base/paths.h"

namespace tallyfin {
namespace {

using Pieces = std::vector<std::string_view>;

TEST(Text, SplitKeepsEmptyPiecesAtTheEdges) {
  EXPECT_EQ(splitOn("a..b", '.'), (Pieces{"a", "", "b"}));
  EXPECT_EQ(splitOn("line\n", '\n'), (Pieces{"line", ""}));
  EXPECT_EQ(splitOn("", '\n'), (Pieces{""}));
  EXPECT_EQ(splitOn("\t", '\t'), (Pieces{"", ""}));
}

TEST(Text, TrimmedOnlyTakesTheGivenBlanks) {
  EXPECT_EQ(trimmed(" \t x y \r\n"), "x y");
  EXPECT_EQ(trimmed("\n\nblock\n", "\n"), "block");
  EXPECT_EQ(trimmed(" \n ", " "), "\n");
  EXPECT_EQ(trimmed("   "), "");
}

TEST(Text, ShellQuotingLeavesPlainWordsAndQuotesTheRest) {
  EXPECT_EQ(shellQuoted("ABC-123"), "ABC-123");
  EXPECT_EQ(shellQuoted("/usr/bin/tallyfin"), "/usr/bin/tallyfin");
  EXPECT_EQ(shellQuoted(""), "''");
  EXPECT_EQ(shellQuoted("it's here"), "'it'\\''s here'");
  EXPECT_EQ(shellQuoted("a;rm -rf"), "'a;rm -rf'");
  EXPECT_EQ(shellQuoted("50%"), "'50%'");
}

TEST(Paths, TildeExpandsOnlyAsAWholeFirstComponent) {
  EXPECT_EQ(expandedHome("~", "/home/a"), "/home/a");
  EXPECT_EQ(expandedHome("~/x", "/home/a"), "/home/a/x");
  EXPECT_EQ(expandedHome("~bob/x", "/home/a"), "~bob/x");
  EXPECT_EQ(expandedHome("/tmp/~", "/home/a"), "/tmp/~");
}

}  // namespace
}  // namespace tallyfin
