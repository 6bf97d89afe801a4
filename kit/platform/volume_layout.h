#pragma once

#include <string>
#include <vector>

namespace tallyfin::platform {

// Where the whole-disk scan starts on this system and which of its own folders
// are large enough to plan finely.
struct VolumeLayout {
  std::string scanRoot;     // real path the walk starts at
  std::string displayRoot;  // what replaces scanRoot in shown paths
  std::vector<std::string> systemSplitPoints;
  std::vector<std::string> homeSplitPoints;  // relative to the home folder
  std::vector<std::string> keepAll;          // relative to the home folder
};

VolumeLayout startupVolumeLayout();

}  // namespace tallyfin::platform
