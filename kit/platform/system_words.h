#pragma once

// How texts name this system and its parts, so that a user reads of the system
// in front of them: no Mac on Linux, no file manager's name it does not have.

#include <string_view>

namespace tallyfin::platform {

// "Linux" or "macOS".
std::string_view systemName();

// "your computer" or "your Mac".
std::string_view yourComputer();

// "your file manager" or "Finder".
std::string_view fileManager();

// What the file manager calls taking an item back out of the Trash: "Restore" or "Put Back".
std::string_view putBackCommand();

// The name shown for the system disk when the volume has none of its own.
std::string_view systemDiskName();

}  // namespace tallyfin::platform
