#include "tests/update/release_fixture.h"

#include <openssl/evp.h>

#include "kit/tools/file_facts.h"

namespace tallyfin::testing {
namespace {

std::string everyByte() {
  std::string bytes;
  for (int round = 0; round < 40; ++round) {
    for (int value = 0; value < 256; ++value)
      bytes += static_cast<char>((value * 7 + round) & 0xff);
  }
  return bytes;
}

}  // namespace

ReleaseFixture::ReleaseFixture() : package(everyByte()) {
  server.serve("/tallyfin_0.2.0_amd64.deb", package);
}

nlohmann::json ReleaseFixture::document(const std::string& version) const {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  EVP_Digest(package.data(), package.size(), digest, &length, EVP_sha256(), nullptr);
  return {{"version", version},
          {"date", "2026-06-01"},
          {"notes", "## What's new\n\n- Scans are faster\n- Updates are signed\n"},
          {"package_url", server.url("/tallyfin_0.2.0_amd64.deb")},
          {"package_sha256", FileFacts::hex({digest, length})},
          {"package_size", package.size()}};
}

void ReleaseFixture::publish(const std::string& feed, const TestKey& signer) {
  server.serve("/feed.json", feed);
  server.serve("/feed.json.sig", signer.sign(feed));
}

UpdateSettings ReleaseFixture::settings(const std::string& currentVersion) const {
  UpdateSettings settings;
  settings.feedUrl = feedUrl();
  settings.publicKey = key.publicKey();
  settings.currentVersion = currentVersion;
  settings.timeoutSeconds = 5;
  return settings;
}

}  // namespace tallyfin::testing
