#pragma once

#include <string>

namespace tallyfin {

// The system's words for an errno value, e.g. "Permission denied".
std::string errnoText(int code);

}  // namespace tallyfin
