#pragma once

// The proof that an assistant showed the user a preview before it asks for the
// move: an expiry and an HMAC-SHA256 over the expiry and the sorted paths, under
// a key drawn for this process only, so a token dies with the server and after
// ten minutes.

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tallyfin {

class PreviewSigner {
 public:
  static constexpr int64_t kValidSeconds = 600;

  // Draws a fresh 256-bit key from the system's random source.
  PreviewSigner();

  // "<expiry>.<64 hex digits>"; the paths are de-duplicated and sorted first. The
  // binding (what the previewed items were on disk) is signed after them.
  std::string token(const std::vector<std::string>& paths, int64_t expires,
                    std::string_view binding = {}) const;

  enum class State { invalid, expired, valid };

  // Whether `token` was made by this signer for the same set of paths and binding,
  // and whether `now` is still strictly before its expiry.
  State check(const std::string& token, const std::vector<std::string>& paths, double now,
              std::string_view binding = {}) const;

  bool isValid(const std::string& token, const std::vector<std::string>& paths, double now,
               std::string_view binding = {}) const {
    return check(token, paths, now, binding) == State::valid;
  }

 private:
  std::array<unsigned char, 32> key_{};
};

}  // namespace tallyfin
