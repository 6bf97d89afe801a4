#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tallyfin::Format {

// Decimal units as people read them: "512 B", "1.50 KB", "12.3 MB", "250 GB".
std::string bytes(int64_t count);

// A moment as ISO 8601 in UTC, "2026-11-21T09:30:00Z".
std::string isoDate(int64_t secondsSince1970);

// Seconds since 1970 of an ISO 8601 time with a "Z" or "+hh:mm" zone, fractions
// of a second dropped ("2024-05-01T10:20:30.5Z"); none for anything else.
std::optional<int64_t> parseIsoDate(std::string_view text);

// A path under the home folder written with "~".
std::string shortPath(std::string_view path, std::string_view home);

}  // namespace tallyfin::Format
