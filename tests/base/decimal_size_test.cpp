#include "kit/base/decimal_size.h"

#include <gtest/gtest.h>

#include <limits>

namespace tallyfin {
namespace {

TEST(DecimalBytes, ReadsTheSizesToolsPrint) {
  EXPECT_EQ(decimalBytes("2.5GB (45%)"), 2'500'000'000);
  EXPECT_EQ(decimalBytes("0B"), 0);
  EXPECT_EQ(decimalBytes("350MB"), 350'000'000);
  EXPECT_EQ(decimalBytes("1.2kB"), 1'200);
  EXPECT_EQ(decimalBytes("12KB"), 12'000);
  EXPECT_EQ(decimalBytes("3TB"), 3'000'000'000'000);
  EXPECT_EQ(decimalBytes("1.2 MB"), 1'200'000);
  EXPECT_EQ(decimalBytes("4.1\u00a0GB"), 4'100'000'000);
}

TEST(DecimalBytes, AnythingElseIsZeroAndHugeSizesSaturate) {
  EXPECT_EQ(decimalBytes("99999999TB"), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(decimalBytes("lots"), 0);
  EXPECT_EQ(decimalBytes("GB"), 0);
  EXPECT_EQ(decimalBytes("1.2.3MB"), 0);
  EXPECT_EQ(decimalBytes("12 parsecs"), 0);
  EXPECT_EQ(decimalBytes("5MiB"), 0);
  EXPECT_EQ(decimalBytes(""), 0);
}

}  // namespace
}  // namespace tallyfin
