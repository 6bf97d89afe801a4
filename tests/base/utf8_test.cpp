#include "kit/base/utf8.h"

#include <gtest/gtest.h>

namespace tallyfin {
namespace {

TEST(Utf8, AcceptsWellFormedText) {
  EXPECT_TRUE(isValidUtf8("plain"));
  EXPECT_TRUE(isValidUtf8("caf\xC3\xA9 \xE2\x80\x94 \xF0\x9F\x93\x81"));
  EXPECT_TRUE(isValidUtf8(""));
}

TEST(Utf8, RejectsOverlongsSurrogatesAndTruncations) {
  EXPECT_FALSE(isValidUtf8("\xC0\xAF"));          // overlong "/"
  EXPECT_FALSE(isValidUtf8("\xED\xA0\x80"));      // surrogate
  EXPECT_FALSE(isValidUtf8("\xF4\x90\x80\x80"));  // above U+10FFFF
  EXPECT_FALSE(isValidUtf8("abc\xE2\x80"));       // cut short
  EXPECT_FALSE(isValidUtf8("\xFF"));
}

TEST(Utf8, RepairReplacesEachBadByteAndKeepsTheRest) {
  EXPECT_EQ(repairedUtf8("a\xFF" "b"), "a\xEF\xBF\xBD" "b");
  EXPECT_EQ(repairedUtf8("\xE2\x80"), "\xEF\xBF\xBD\xEF\xBF\xBD");
  EXPECT_EQ(repairedUtf8("caf\xC3\xA9"), "caf\xC3\xA9");
}

}  // namespace
}  // namespace tallyfin
