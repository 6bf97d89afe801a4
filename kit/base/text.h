#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tallyfin {

// ASCII letters lowered; other bytes (UTF-8 included) stay as they are.
std::string lowercased(std::string_view text);

// The text without `blanks` at either end.
std::string_view trimmed(std::string_view text, std::string_view blanks = " \t\r\n");

// The pieces between separators, empty ones included: "a..b" gives "a", "", "b";
// an empty text gives one empty piece.
std::vector<std::string_view> splitOn(std::string_view text, char separator);

// A word as the shell reads it: as is when it is plainly safe, else in single quotes.
std::string shellQuoted(std::string_view word);

}  // namespace tallyfin
