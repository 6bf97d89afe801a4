#include "kit/platform/trash_location.h"
#include "kit/platform/user_folders.h"

namespace tallyfin::platform {

// The freedesktop.org home Trash: $XDG_DATA_HOME/Trash, items in its files/ folder.
std::string trashFolder(const std::string&) { return applicationSupportFolder() + "/Trash"; }

std::string trashItemsFolder(const std::string& home) { return trashFolder(home) + "/files"; }

// Where desktops and administrators mount removable and extra disks.
std::vector<std::string> otherDiskFolders() { return {"/media/", "/mnt/", "/run/media/"}; }

}  // namespace tallyfin::platform
