#include "kit/update/semantic_version.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

namespace tallyfin {
namespace {

SemanticVersion v(const char* text) {
  const auto version = SemanticVersion::parse(text);
  if (!version) throw std::invalid_argument(text);
  return *version;
}

TEST(SemanticVersion, OrdersReleasesAndPreReleasesAsSemanticVersioningDoes) {
  const std::vector<const char*> ascending = {"0.1.0",
                                              "0.1.1",
                                              "0.2.0",
                                              "0.10.0",
                                              "1.0.0-alpha",
                                              "1.0.0-alpha.1",
                                              "1.0.0-alpha.beta",
                                              "1.0.0-beta",
                                              "1.0.0-beta.2",
                                              "1.0.0-beta.11",
                                              "1.0.0-rc.1",
                                              "1.0.0",
                                              "1.0.1",
                                              "2.0.0",
                                              "10.0.0",
                                              "18446744073709551616.0.0"};
  for (size_t i = 0; i + 1 < ascending.size(); ++i) {
    EXPECT_LT(v(ascending[i]), v(ascending[i + 1])) << ascending[i] << " < " << ascending[i + 1];
    EXPECT_GT(v(ascending[i + 1]), v(ascending[i]));
  }
}

TEST(SemanticVersion, NumbersCompareAsNumbersHoweverLong) {
  EXPECT_LT(v("9.0.0"), v("10.0.0"));  // not as text
  EXPECT_LT(v("1.0.0-rc.9"), v("1.0.0-rc.10"));
  EXPECT_LT(v("99999999999999999999.0.0"), v("100000000000000000000.0.0"));  // past 64 bits
  EXPECT_LT(v("1.0.0-999"), v("1.0.0-a"));  // numeric identifiers come first
}

TEST(SemanticVersion, BuildPartIsIgnoredAndKeptInTheText) {
  EXPECT_EQ(v("1.2.3+20250601"), v("1.2.3"));
  EXPECT_EQ(v("1.2.3-rc.1+x.y"), v("1.2.3-rc.1"));
  EXPECT_EQ(v("1.2.3+build.7").text(), "1.2.3+build.7");
}

TEST(SemanticVersion, RefusesWhatIsNotAVersion) {
  for (const char* bad : {"", "1", "1.2", "1.2.3.4", "v1.2.3", "01.2.3", "1.02.3", "1.2.03",
                          "1.2.3-", "1.2.3+", "1.2.3-rc..1", "1.2.3-01", "1.2.3-rc_1", " 1.2.3",
                          "1.2.3 ", "1.-2.3", "a.b.c", "1.2.3-é", "1.2.3+a+b"}) {
    EXPECT_FALSE(SemanticVersion::parse(bad).has_value()) << '"' << bad << '"';
  }
  for (const char* good : {"0.0.0", "1.2.3-0", "1.2.3-0a", "1.2.3-x-y.z", "1.2.3+001"}) {
    EXPECT_TRUE(SemanticVersion::parse(good).has_value()) << good;
  }
}

}  // namespace
}  // namespace tallyfin
