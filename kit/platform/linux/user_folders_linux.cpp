#include <pwd.h>
#include <unistd.h>

#include <cstdlib>

#include "kit/platform/user_folders.h"

namespace tallyfin::platform {

std::string homeFolder() {
  if (const char* home = std::getenv("HOME"); home && *home) return home;
  if (const passwd* entry = ::getpwuid(::getuid()); entry && entry->pw_dir) return entry->pw_dir;
  return "/";
}

// The XDG data folder: $XDG_DATA_HOME, or ~/.local/share.
std::string applicationSupportFolder() {
  if (const char* data = std::getenv("XDG_DATA_HOME"); data && *data == '/') return data;
  return homeFolder() + "/.local/share";
}

// The XDG configuration folder: $XDG_CONFIG_HOME, or ~/.config.
std::string settingsFolder() {
  if (const char* config = std::getenv("XDG_CONFIG_HOME"); config && *config == '/') return config;
  return homeFolder() + "/.config";
}

}  // namespace tallyfin::platform
