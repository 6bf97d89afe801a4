#pragma once

// A settings file of another program, read and written back only if nobody
// changed it in between, with one backup of the old contents per day.

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace tallyfin {

struct SetupError;

namespace ConfigFile {

inline constexpr int64_t kLargestConfig = 67'108'864;

struct Target {
  std::string path;
  mode_t mode = 0600;  // kept on rewrite; a new file is private
  std::optional<std::pair<ino_t, timespec>> identity;
  std::optional<std::string> data;  // none when the file does not exist
};

// Makes the file's folder if it is missing, then reads the file as it is now.
Target read(const std::string& path);

// Writes `data` atomically unless the file changed since `target` was read.
std::optional<SetupError> commit(const std::string& data, const Target& target);

}  // namespace ConfigFile
}  // namespace tallyfin
