#include "kit/agents/preview_token.h"

#include <openssl/crypto.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <set>

namespace tallyfin {

PreviewSigner::PreviewSigner() {
  // Without randomness no token could be trusted; better to stop than to sign with a known key.
  if (RAND_bytes(key_.data(), static_cast<int>(key_.size())) != 1) std::abort();
}

std::string PreviewSigner::token(const std::vector<std::string>& paths, int64_t expires,
                                 std::string_view binding) const {
  const std::set<std::string> distinct(paths.begin(), paths.end());
  std::string message = std::to_string(expires);
  for (const auto& path : distinct) {
    message += '\0';
    message += path;
  }
  if (!binding.empty()) {
    message += '\0';
    message += binding;
  }
  unsigned char code[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  HMAC(EVP_sha256(), key_.data(), static_cast<int>(key_.size()),
       reinterpret_cast<const unsigned char*>(message.data()), message.size(), code, &length);
  static constexpr char kHex[] = "0123456789abcdef";
  std::string text = std::to_string(expires) + ".";
  for (unsigned int i = 0; i < length; ++i) {
    text += kHex[code[i] >> 4];
    text += kHex[code[i] & 0x0f];
  }
  return text;
}

PreviewSigner::State PreviewSigner::check(const std::string& token, const std::vector<std::string>& paths,
                                          double now, std::string_view binding) const {
  const size_t dot = token.find('.');
  if (dot == std::string::npos) return State::invalid;
  int64_t expires = 0;
  const auto [end, error] = std::from_chars(token.data(), token.data() + dot, expires);
  if (error != std::errc() || end != token.data() + dot) return State::invalid;
  const std::string expected = this->token(paths, expires, binding);
  if (expected.size() != token.size() || CRYPTO_memcmp(expected.data(), token.data(), token.size()) != 0) {
    return State::invalid;
  }
  return now < static_cast<double>(expires) ? State::valid : State::expired;
}

}  // namespace tallyfin
