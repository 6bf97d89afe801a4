#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tallyfin::cli {

// The text cut to `width` characters, with "…" in the middle of what was dropped.
std::string fitWidth(std::string_view text, size_t width);

// "975,860".
std::string groupedNumber(int64_t number);

// Pads (or fits) text to exactly `width` characters.
std::string column(std::string_view text, size_t width);

}  // namespace tallyfin::cli
