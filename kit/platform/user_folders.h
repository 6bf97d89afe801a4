#pragma once

#include <string>

namespace tallyfin::platform {

// $HOME when it is set, else the password database's entry for this user.
std::string homeFolder();

// Where applications keep their private data for this user; the Tallyfin data
// folder is created inside it.
std::string applicationSupportFolder();

}  // namespace tallyfin::platform
