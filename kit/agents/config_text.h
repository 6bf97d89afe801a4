#pragma once

// Reading and editing assistants' configuration text without a full parser:
// JSON with comments and trailing commas, and the TOML block Tallyfin owns.

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

namespace tallyfin::ConfigText {

inline constexpr std::string_view kBlockStart = "# >>> tallyfin (added by Tallyfin)";
inline constexpr std::string_view kBlockEnd = "# <<< tallyfin";

// Drops // and /* */ comments outside string literals; strings are copied as they are.
std::string withoutComments(std::string_view text);
// Drops a comma followed, after white space only, by } or ], outside strings.
std::string withoutTrailingCommas(std::string_view text);
// The text as a JSON object once comments and trailing commas are gone; none otherwise.
std::optional<nlohmann::json> parseJSONC(std::string_view text);

// A TOML basic string with every control character escaped.
std::string tomlString(std::string_view text);
// The table a line opens ("[a.b]" or "[[a.b]]"), trimmed; none for other lines.
std::optional<std::string> tableName(std::string_view line);
bool tomlHasServer(std::string_view text);
// The text without Tallyfin's block, the former product's block and any
// mcp_servers.tallyfin or mcp_servers.moss-ledger table with its sub-tables.
std::string removingTOMLSection(std::string_view text);

}  // namespace tallyfin::ConfigText
