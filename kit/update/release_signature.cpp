#include "kit/update/release_signature.h"

#include <openssl/evp.h>

#include <memory>

namespace tallyfin {

bool signatureHolds(std::string_view message, std::string_view signature, const PublicKey& key) {
  if (signature.size() != kSignatureBytes) return false;
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> publicKey(
      EVP_PKEY_new_raw_public_key(EVP_PKEY_ED25519, nullptr, key.data(), key.size()),
      &EVP_PKEY_free);
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        &EVP_MD_CTX_free);
  if (!publicKey || !context) return false;
  // Ed25519 hashes the message itself: no digest is named, and the whole message
  // goes in one call.
  if (EVP_DigestVerifyInit(context.get(), nullptr, nullptr, nullptr, publicKey.get()) != 1)
    return false;
  return EVP_DigestVerify(context.get(), reinterpret_cast<const unsigned char*>(signature.data()),
                          signature.size(), reinterpret_cast<const unsigned char*>(message.data()),
                          message.size()) == 1;
}

}  // namespace tallyfin
