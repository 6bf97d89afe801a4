#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

#include "kit/base/error.h"

namespace tallyfin::platform {

// The absolute path of the running binary, so what it registers starts the same tallyfin.
std::string thisExecutable();

// Whether a process with one of these command names runs on this system (any user).
bool processRunning(std::initializer_list<std::string_view> names);

// Starts `program` with this process's environment so that it outlives this process
// and the service this process may run in (a service's leftover processes end with
// it), without waiting for it.
Status startApart(const std::string& program, const std::vector<std::string>& arguments);

}  // namespace tallyfin::platform
