#include "tests/update/test_key.h"

#include <openssl/pem.h>

#include <stdexcept>

#include "kit/tools/file_facts.h"

namespace tallyfin::testing {

TestKey::TestKey() {
  EVP_PKEY* key = EVP_PKEY_Q_keygen(nullptr, nullptr, "ED25519");
  if (!key) throw std::runtime_error("no Ed25519 key");
  key_.reset(key, &EVP_PKEY_free);
}

std::string TestKey::sign(std::string_view message) const {
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        &EVP_MD_CTX_free);
  std::string signature(64, '\0');
  size_t length = signature.size();
  if (EVP_DigestSignInit(context.get(), nullptr, nullptr, nullptr, key_.get()) != 1 ||
      EVP_DigestSign(context.get(), reinterpret_cast<unsigned char*>(signature.data()), &length,
                     reinterpret_cast<const unsigned char*>(message.data()), message.size()) != 1) {
    throw std::runtime_error("signing failed");
  }
  return signature;
}

PublicKey TestKey::publicKey() const {
  PublicKey raw{};
  size_t length = raw.size();
  EVP_PKEY_get_raw_public_key(key_.get(), raw.data(), &length);
  return raw;
}

std::string TestKey::publicHex() const {
  const PublicKey raw = publicKey();
  return FileFacts::hex(raw);
}

std::string TestKey::privatePem() const {
  const std::unique_ptr<BIO, decltype(&BIO_free)> out(BIO_new(BIO_s_mem()), &BIO_free);
  PEM_write_bio_PrivateKey(out.get(), key_.get(), nullptr, nullptr, 0, nullptr, nullptr);
  char* data = nullptr;
  const long length = BIO_get_mem_data(out.get(), &data);
  return std::string(data, static_cast<size_t>(length));
}

}  // namespace tallyfin::testing
