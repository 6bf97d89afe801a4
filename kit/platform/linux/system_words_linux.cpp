#include "kit/platform/system_words.h"

namespace tallyfin::platform {

std::string_view systemName() { return "Linux"; }

std::string_view yourComputer() { return "your computer"; }

std::string_view fileManager() { return "your file manager"; }

// Files, Dolphin and Thunar all call it Restore, as does trash-cli's trash-restore.
std::string_view putBackCommand() { return "Restore"; }

std::string_view systemDiskName() { return "System"; }

}  // namespace tallyfin::platform
