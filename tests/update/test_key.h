#pragma once

// An Ed25519 key pair made for one test, as the release key's stand-in.

#include <openssl/evp.h>

#include <memory>
#include <string>
#include <string_view>

#include "kit/update/release_key.h"

namespace tallyfin::testing {

class TestKey {
 public:
  TestKey();

  // The raw 64-byte signature of `message`.
  std::string sign(std::string_view message) const;
  PublicKey publicKey() const;
  // The public key as 64 lower-case hex digits.
  std::string publicHex() const;
  // The private key in PEM form, as release scripts keep it.
  std::string privatePem() const;

 private:
  std::shared_ptr<EVP_PKEY> key_;
};

}  // namespace tallyfin::testing
