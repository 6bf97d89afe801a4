#pragma once

#include <string>

namespace tallyfin::app {

// Shows the item selected in the desktop's file manager (org.freedesktop.FileManager1
// over D-Bus), or opens its folder when no file manager answers.
void showInFolder(const std::string& path);

}  // namespace tallyfin::app
