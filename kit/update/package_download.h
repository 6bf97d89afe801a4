#pragma once

// The package of a verified release, fetched into the user's cache folder and
// kept only when its size and SHA-256 are the ones the signed feed names.

#include <cstdint>
#include <functional>
#include <string>

#include "kit/base/error.h"
#include "kit/update/release_feed.h"

namespace tallyfin {

class DownloadedPackage {
 public:
  // Fetches the package of `release` into `folder` (made 0700 when missing). A
  // file already there that matches is kept as it is; nothing that does not match
  // is ever written. `keepGoing`, when given, hears the bytes received and may stop
  // the download.
  static Expected<DownloadedPackage, Error> fetch(const ReleaseFeed& release,
                                                  const std::string& folder, double timeoutSeconds,
                                                  std::function<bool(int64_t received)> keepGoing = {});

  const std::string& path() const { return path_; }
  const std::string& version() const { return version_; }
  int64_t size() const { return size_; }
  const std::string& sha256() const { return sha256_; }
  // Whether it was there from an earlier download.
  bool reused() const { return reused_; }

  // Whether the file is still the verified one, byte for byte.
  Status stillIntact() const;

 private:
  DownloadedPackage(std::string path, const ReleaseFeed& release, bool reused)
      : path_(std::move(path)),
        version_(release.version.text()),
        size_(release.packageSize),
        sha256_(release.packageSha256),
        reused_(reused) {}

  std::string path_;
  std::string version_;
  int64_t size_;
  std::string sha256_;
  bool reused_;
};

}  // namespace tallyfin
