// The feed's signature is the gate: these tests sign and break feeds in memory.

#include "kit/update/release_feed.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tests/update/test_key.h"

namespace tallyfin {
namespace {

using nlohmann::json;
using testing::TestKey;

const char* kSource = "https://example.test/feed.json";

json document() {
  return {{"version", "1.4.0-rc.2"},
          {"date", "2026-06-01"},
          {"notes", "Fixes *everything*."},
          {"package_url", "https://example.test/tallyfin_1.4.0_amd64.deb"},
          {"package_sha256", std::string(64, 'a')},
          {"package_size", 12'345'678}};
}

bool mentions(const Error& error, const std::string& words) {
  return error.message.find(words) != std::string::npos;
}

TEST(ReleaseFeed, ASignedFeedOpensWithEveryField) {
  const TestKey key;
  const std::string bytes = document().dump();
  const auto feed = ReleaseFeed::open(bytes, key.sign(bytes), key.publicKey(), kSource);
  ASSERT_TRUE(feed.ok()) << feed.error().message;
  EXPECT_EQ(feed->version.text(), "1.4.0-rc.2");
  EXPECT_EQ(feed->date, "2026-06-01");
  EXPECT_EQ(feed->notes, "Fixes *everything*.");
  EXPECT_EQ(feed->packageUrl, "https://example.test/tallyfin_1.4.0_amd64.deb");
  EXPECT_EQ(feed->packageSha256, std::string(64, 'a'));
  EXPECT_EQ(feed->packageSize, 12'345'678);
}

TEST(ReleaseFeed, AnyChangedByteBreaksTheSignature) {
  const TestKey key;
  const std::string bytes = document().dump();
  const std::string signature = key.sign(bytes);
  for (size_t at = 0; at < bytes.size(); at += 7) {
    std::string flipped = bytes;
    flipped[at] = static_cast<char>(flipped[at] ^ 0x01);
    const auto feed = ReleaseFeed::open(flipped, signature, key.publicKey(), kSource);
    ASSERT_FALSE(feed.ok()) << "byte " << at;
    EXPECT_TRUE(mentions(feed.error(), "is not signed with Tallyfin's release key"))
        << feed.error().message;
  }
  std::string badSignature = signature;
  badSignature[10] = static_cast<char>(badSignature[10] ^ 0x80);
  EXPECT_FALSE(ReleaseFeed::open(bytes, badSignature, key.publicKey(), kSource).ok());
  // Whitespace is bytes too: the same JSON written differently is not what was signed.
  EXPECT_FALSE(ReleaseFeed::open(document().dump(2), signature, key.publicKey(), kSource).ok());
}

TEST(ReleaseFeed, TruncatedOrExtendedFeedsAreRefused) {
  const TestKey key;
  const std::string bytes = document().dump();
  const std::string signature = key.sign(bytes);
  for (const std::string& changed :
       {bytes.substr(0, bytes.size() - 1), bytes.substr(0, bytes.size() / 2), std::string(),
        bytes + "\n", bytes + std::string(1, '\0')}) {
    const auto feed = ReleaseFeed::open(changed, signature, key.publicKey(), kSource);
    ASSERT_FALSE(feed.ok()) << changed.size();
    EXPECT_TRUE(mentions(feed.error(), "cut short")) << feed.error().message;
  }
}

TEST(ReleaseFeed, ASignatureFromAnotherKeyIsRefused) {
  const TestKey key, stranger;
  const std::string bytes = document().dump();
  const auto feed = ReleaseFeed::open(bytes, stranger.sign(bytes), key.publicKey(), kSource);
  ASSERT_FALSE(feed.ok());
  EXPECT_EQ(feed.error().message,
            "The release feed at https://example.test/feed.json is not signed with Tallyfin's "
            "release key — it was "
            "changed or cut short on the way, so nothing was offered.");
  // Nor does the built-in key accept what a test key signed.
  EXPECT_FALSE(ReleaseFeed::open(bytes, key.sign(bytes), kReleasePublicKey, kSource).ok());
}

TEST(ReleaseFeed, ASignatureOfTheWrongLengthIsRefusedByItsLength) {
  const TestKey key;
  const std::string bytes = document().dump();
  const std::string signature = key.sign(bytes);
  for (const std::string& wrong :
       {signature.substr(0, 63), signature + "x", std::string(), signature + signature}) {
    const auto feed = ReleaseFeed::open(bytes, wrong, key.publicKey(), kSource);
    ASSERT_FALSE(feed.ok());
    EXPECT_TRUE(mentions(feed.error(), std::to_string(wrong.size()) + " bytes instead of 64"))
        << feed.error().message;
  }
}

TEST(ReleaseFeed, NothingIsReadFromAnUnsignedFeed) {
  const TestKey key, stranger;
  // Malformed and unsigned: the signature speaks first, so no field is named.
  const std::string broken = "{\"version\": 7";
  const auto feed = ReleaseFeed::open(broken, stranger.sign(broken), key.publicKey(), kSource);
  ASSERT_FALSE(feed.ok());
  EXPECT_TRUE(mentions(feed.error(), "not signed")) << feed.error().message;
  EXPECT_FALSE(mentions(feed.error(), "version"));
}

TEST(ReleaseFeed, SignedButMalformedFieldsAreNamed) {
  const TestKey key;
  const std::vector<std::pair<std::string, json>> cases = {
      {"version", "v1.4.0"},
      {"version", "1.4"},
      {"version", 140},
      {"date", ""},
      {"notes", nullptr},
      {"package_url", json::array()},
      {"package_sha256", std::string(64, 'A')},  // lower-case hex only
      {"package_sha256", std::string(63, 'a')},
      {"package_size", 0},
      {"package_size", -5},
      {"package_size", 12.5},
      {"package_size", "12"},
      {"package_size", ReleaseFeed::kLargestPackage + 1},
  };
  for (const auto& [field, value] : cases) {
    json changed = document();
    changed[field] = value;
    const std::string bytes = changed.dump();
    const auto feed = ReleaseFeed::open(bytes, key.sign(bytes), key.publicKey(), kSource);
    ASSERT_FALSE(feed.ok()) << field << " = " << value;
    EXPECT_TRUE(mentions(feed.error(), "its " + field + " is missing or malformed"))
        << feed.error().message;
  }
  for (const char* field :
       {"version", "date", "notes", "package_url", "package_sha256", "package_size"}) {
    json changed = document();
    changed.erase(field);
    const std::string bytes = changed.dump();
    const auto feed = ReleaseFeed::open(bytes, key.sign(bytes), key.publicKey(), kSource);
    ASSERT_FALSE(feed.ok()) << field;
    EXPECT_TRUE(mentions(feed.error(), std::string("its ") + field + " is missing"))
        << feed.error().message;
  }
  for (const std::string bytes : {"[1, 2]", "not json", "\"1.4.0\""}) {
    const auto feed = ReleaseFeed::open(bytes, key.sign(bytes), key.publicKey(), kSource);
    ASSERT_FALSE(feed.ok()) << bytes;
    EXPECT_TRUE(mentions(feed.error(), "its JSON is missing or malformed")) << feed.error().message;
  }
}

}  // namespace
}  // namespace tallyfin
