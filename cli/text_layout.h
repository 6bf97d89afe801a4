#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tallyfin::cli {

// The text cut to `width` characters, with "…" in the middle of what was dropped.
std::string fitWidth(std::string_view text, size_t width);

// "975,860".
std::string groupedNumber(int64_t number);

// Text from the disk or the user made safe for a terminal: control characters are
// shown as \e, \n, \r, \t or ?, and bytes that are not UTF-8 as ?, so a name cannot
// move the cursor, retitle the window or break a line. Every text output passes
// names through here; JSON output stays exact.
std::string terminalSafe(std::string_view text);

// Words wrapped to `width` characters a line, each line after the first indented by `indent`.
std::string wrapped(std::string_view text, size_t width, size_t indent);

// Pads (or fits) text to exactly `width` characters.
std::string column(std::string_view text, size_t width);

}  // namespace tallyfin::cli
