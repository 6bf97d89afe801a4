#pragma once

#include <string>
#include <vector>

namespace tallyfin::platform {

// The user's Trash: everything below it is already thrown away.
std::string trashFolder(const std::string& home);

// The folder inside the Trash where moved items land, directly.
std::string trashItemsFolder(const std::string& home);

// Lowercased folders, ending in "/", under which the system mounts other disks.
std::vector<std::string> otherDiskFolders();

}  // namespace tallyfin::platform
