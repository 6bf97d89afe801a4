#pragma once

#include <sys/types.h>

#include <string>
#include <string_view>

#include "kit/base/error.h"

namespace tallyfin::AtomicFile {

// Writes `data` to a temporary file beside `path` and renames it over `path`, so
// readers see the old file or the new one, never half of one. The file gets
// exactly `mode`, whatever the umask. On failure nothing is left behind.
Status write(std::string_view data, const std::string& path, mode_t mode);

}  // namespace tallyfin::AtomicFile
