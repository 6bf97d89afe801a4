#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tallyfin {

// Appends `text` as a JSON string literal (quotes included). Slashes stay as they are.
void appendJsonString(std::string& out, std::string_view text);

// Appends a whole number in JSON form.
void appendJsonInteger(std::string& out, int64_t value);

}  // namespace tallyfin
