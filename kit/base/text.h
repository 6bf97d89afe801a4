#pragma once

#include <string>
#include <string_view>

namespace tallyfin {

// ASCII letters lowered; other bytes (UTF-8 included) stay as they are.
std::string lowercased(std::string_view text);

}  // namespace tallyfin
