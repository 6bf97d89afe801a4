#pragma once

#include <string>
#include <string_view>

namespace tallyfin {

// True when the bytes are well-formed UTF-8 (no overlongs, no surrogates).
bool isValidUtf8(std::string_view bytes);

// Appends the bytes to `out`, replacing each ill-formed sequence by U+FFFD.
void appendRepairedUtf8(std::string_view bytes, std::string& out);

// The bytes as valid UTF-8, ill-formed sequences replaced by U+FFFD.
std::string repairedUtf8(std::string_view bytes);

}  // namespace tallyfin
