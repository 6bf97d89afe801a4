#pragma once

// Real folders and files for tests, made in a fresh temporary folder that is
// removed afterwards, whatever permissions the test left on it.

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace tallyfin::testing {

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::string& path() const { return path_; }
  // The absolute path of `relative` inside the folder.
  std::string operator/(const std::string& relative) const;

 private:
  std::string path_;
};

// Creates the folder and any missing parents.
void makeFolder(const std::string& path);
// Writes `bytes` bytes of text, creating parent folders.
void writeFile(const std::string& path, size_t bytes = 0);
// Writes exactly `text`, creating parent folders.
void writeText(const std::string& path, std::string_view text);
// The file's bytes; empty when it cannot be read.
std::string readText(const std::string& path);
// Whether anything (a dangling link too) is at `path`.
bool pathExists(const std::string& path);
// A file whose data is allocated on disk without being written.
void allocateFile(const std::string& path, int64_t bytes);
// A file of `logical` bytes with only its last byte written: mostly a hole.
void sparseFile(const std::string& path, int64_t logical);
void hardLink(const std::string& existing, const std::string& link);
void symbolicLink(const std::string& target, const std::string& link);
void setMode(const std::string& path, mode_t mode);
// `levels` folders named "d", each inside the one before, below `top`, each
// holding a 1-byte file "f"; made relative to folder descriptors, so paths far
// longer than PATH_MAX come out right.
void makeDeepChain(const std::string& top, int levels);

// st_blocks * 512 of one path, not following links.
int64_t allocatedBytes(const std::string& path);

// Runs `body` in a child process that cannot bypass permissions (as root it drops
// to the nobody user first); returns the child's exit status, 253 when `body`
// throws, 255 for a crash.
int runUnprivileged(const std::function<int()>& body);

// Makes the folder and everything in it readable by every user, so an unprivileged
// child can reach it.
void openToEveryone(const std::string& path);

}  // namespace tallyfin::testing
