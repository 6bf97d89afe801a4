#pragma once

#include <cstddef>
#include <string_view>

#include "kit/update/release_key.h"

namespace tallyfin {

inline constexpr size_t kSignatureBytes = 64;

// Whether `signature` is the raw 64-byte Ed25519 signature of exactly `message`
// under `key`.
bool signatureHolds(std::string_view message, std::string_view signature, const PublicKey& key);

}  // namespace tallyfin
