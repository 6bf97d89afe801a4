#include "kit/tools/sha256.h"

#include "kit/tools/file_facts.h"

namespace tallyfin {

Sha256::Sha256() : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
  EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr);
}

Sha256::Sha256(const Sha256& other) : context_(EVP_MD_CTX_new(), EVP_MD_CTX_free) {
  EVP_MD_CTX_copy_ex(context_.get(), other.context_.get());
}

void Sha256::add(const void* data, size_t length) { EVP_DigestUpdate(context_.get(), data, length); }

void Sha256::addSize(int64_t size) {
  unsigned char bytes[8];
  for (int i = 0; i < 8; ++i) bytes[i] = static_cast<unsigned char>(static_cast<uint64_t>(size) >> (8 * i));
  add(bytes, sizeof bytes);
}

std::string Sha256::finish() {
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  EVP_DigestFinal_ex(context_.get(), digest, &length);
  return FileFacts::hex({digest, length});
}

}  // namespace tallyfin
