#pragma once

// A plain walk over everything below a folder, without following links, that
// stops when the visitor says so or after a given number of entries, so that a
// question about a huge tree costs a bounded amount of work.

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace tallyfin {

enum class WalkEnd { finished, stopped, limitReached };

// Visits every entry below `folder` (folders too, before their contents) with
// its lstat; `skipping` folders are visited but not entered. Unreadable folders
// are passed over. `limit` counts visited entries.
WalkEnd walkTree(const std::string& folder, const std::vector<std::string>& skipping, size_t limit,
                 const std::function<bool(const std::string& path, const struct stat& info)>& visit);

// The latest modification time (seconds since 1970) of the entry or anything
// below it; none when it cannot be looked at or holds more than `limit` entries.
std::optional<int64_t> latestChange(const std::string& path, size_t limit);

}  // namespace tallyfin
