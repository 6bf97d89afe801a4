#pragma once

// The release feed: a small JSON document that names the newest release, and a
// detached signature over its exact bytes. Nothing in the document is looked at
// before the signature holds.
//
//   {"version": "0.2.0", "date": "2025-06-01", "notes": "Markdown …",
//    "package_url": "https://…/tallyfin_0.2.0_amd64.deb",
//    "package_sha256": "64 hex digits", "package_size": 12345678}

#include <cstdint>
#include <string>
#include <string_view>

#include "kit/base/error.h"
#include "kit/update/release_key.h"
#include "kit/update/semantic_version.h"

namespace tallyfin {

struct ReleaseFeed {
  static constexpr int64_t kLargestFeed = 256'000;
  static constexpr int64_t kLargestPackage = 500'000'000;  // it is held in memory until verified

  SemanticVersion version;
  std::string date;
  std::string notes;  // Markdown
  std::string packageUrl;
  std::string packageSha256;  // lower-case hex
  int64_t packageSize = 0;

  // The release of `bytes` once `signature` proves that `key` signed them; `source`
  // names where they came from in the messages.
  static Expected<ReleaseFeed, Error> open(std::string_view bytes, std::string_view signature,
                                           const PublicKey& key, std::string_view source);
};

}  // namespace tallyfin
