#pragma once

// One SHA-256 computation through OpenSSL's EVP interface. A computation can be
// copied midway: files that agree up to a point share the work done so far.

#include <openssl/evp.h>

#include <cstdint>
#include <memory>
#include <string>

namespace tallyfin {

class Sha256 {
 public:
  Sha256();
  Sha256(const Sha256& other);
  Sha256& operator=(const Sha256&) = delete;
  Sha256(Sha256&&) noexcept = default;
  Sha256& operator=(Sha256&&) noexcept = default;

  void add(const void* data, size_t length);
  // The size as 8 bytes, little-endian, as the sampled hashes begin.
  void addSize(int64_t size);
  // Lowercase hexadecimal; the computation is finished and can take no more.
  std::string finish();

 private:
  std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context_;
};

}  // namespace tallyfin
