#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tallyfin {

// The bytes of a regular file that is not a link and holds at most `largest`
// bytes; none otherwise or when it cannot be read.
std::optional<std::string> readSmallFile(const std::string& path, int64_t largest);

// The first `count` bytes (fewer when the file is shorter) of a regular file
// that is not a link, however large it is.
std::optional<std::string> readFileStart(const std::string& path, int64_t count);

}  // namespace tallyfin
