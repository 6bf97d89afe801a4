#include "kit/platform/volume_layout.h"

namespace tallyfin::platform {

// Linux has no separate data volume: the whole disk is "/" and paths stay as they are.
VolumeLayout startupVolumeLayout() {
  VolumeLayout layout;
  layout.scanRoot = "/";
  layout.displayRoot = "";
  layout.systemSplitPoints = {"/home", "/usr", "/usr/lib", "/usr/share", "/var",
                              "/var/lib", "/var/cache", "/opt", "/snap", "/root"};
  layout.homeSplitPoints = {"/.local", "/.local/share", "/.config", "/projects", "/src", "/code"};
  layout.keepAll = {"/.local/share/Trash", "/.local/share/Trash/files"};
  return layout;
}

}  // namespace tallyfin::platform
