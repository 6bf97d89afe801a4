#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace tallyfin::platform {

// The absolute path of the running binary, so what it registers starts the same tallyfin.
std::string thisExecutable();

// Whether a process with one of these command names runs on this system (any user).
bool processRunning(std::initializer_list<std::string_view> names);

}  // namespace tallyfin::platform
