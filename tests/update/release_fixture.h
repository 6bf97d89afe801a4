#pragma once

// A signed release served from 127.0.0.1: the feed, its signature and the
// package, with a key pair of the test's own standing in for the release key.

#include <nlohmann/json.hpp>
#include <string>

#include "kit/update/update_checker.h"
#include "tests/update/local_web_server.h"
#include "tests/update/test_key.h"

namespace tallyfin::testing {

class ReleaseFixture {
 public:
  // The package the feeds name: bytes of every value, and long enough to be cut.
  const std::string package;

  ReleaseFixture();

  // A feed document for `version` naming the served package with its true size and hash.
  nlohmann::json document(const std::string& version) const;
  // Serves `feed` as it stands at /feed.json and its signature by `signer` at /feed.json.sig.
  void publish(const std::string& feed, const TestKey& signer);
  void publish(const std::string& feed) { publish(feed, key); }
  void publish(const nlohmann::json& document) { publish(document.dump(2)); }

  std::string feedUrl() const { return server.url("/feed.json"); }
  // What the checker is given: the served feed, the test key, this version.
  UpdateSettings settings(const std::string& currentVersion = "0.1.0") const;

  TestKey key;
  LocalWebServer server;
};

}  // namespace tallyfin::testing
