#include "kit/base/text.h"

#include <cctype>

namespace tallyfin {

std::string lowercased(std::string_view text) {
  std::string lower(text);
  for (auto& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

}  // namespace tallyfin
