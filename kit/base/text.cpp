#include "kit/base/text.h"

#include <algorithm>
#include <cctype>

namespace tallyfin {

std::string lowercased(std::string_view text) {
  std::string lower(text);
  for (auto& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

std::string_view trimmed(std::string_view text, std::string_view blanks) {
  const auto first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

std::vector<std::string_view> splitOn(std::string_view text, char separator) {
  std::vector<std::string_view> pieces;
  for (size_t start = 0;;) {
    const size_t end = text.find(separator, start);
    if (end == std::string_view::npos) {
      pieces.push_back(text.substr(start));
      return pieces;
    }
    pieces.push_back(text.substr(start, end - start));
    start = end + 1;
  }
}

std::string shellQuoted(std::string_view word) {
  const bool plain = !word.empty() && std::all_of(word.begin(), word.end(), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) || c == '-' || c == '_' || c == '.' ||
           c == ':' || c == '/' || c == '+' || c == '=' || c == '@' || c == ',';
  });
  if (plain) return std::string(word);
  std::string quoted = "'";
  for (const char c : word) quoted += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return quoted + "'";
}

}  // namespace tallyfin
