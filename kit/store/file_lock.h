#pragma once

#include <functional>
#include <string>

#include "kit/base/error.h"

namespace tallyfin {

// Runs `body` while holding an exclusive lock on `lockPath` (created 0600, never
// through a link), waiting for other processes that hold it.
Status withFileLock(const std::string& lockPath, const std::function<Status()>& body);

}  // namespace tallyfin
