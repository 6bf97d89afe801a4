#pragma once

#include <string>

namespace tallyfin::platform {

// $HOME when it is set, else the password database's entry for this user.
std::string homeFolder();

// Where applications keep their private data for this user; the Tallyfin data
// folder is created inside it.
std::string applicationSupportFolder();

// Where applications keep the user's settings; Tallyfin's preferences and the
// scheduled scan's timers live below it.
std::string settingsFolder();

}  // namespace tallyfin::platform
