#pragma once

// Files of one size read side by side in blocks and compared byte for byte, split
// into classes of identical files where they differ. Each class's SHA-256 is taken
// over one member only: the others hold the same bytes. Hashing every file in full
// costs far more than comparing them.

#include <cstdint>
#include <string>
#include <vector>

#include "kit/tools/file_facts.h"

namespace tallyfin {

struct ContentClass {
  std::string sha256;           // of the whole content
  std::vector<size_t> members;  // indexes into the paths given, in order
};

struct SideBySideLimits {
  size_t mostOpen = 64;              // files open at once; more are taken in parts
  int64_t bufferBytes = 16'777'216;  // the read buffers of all open files together
};

namespace ContentClasses {

// The classes of the files that were read to the end. A file that differs from
// every other is let go as soon as it does, unless `hashLoners` asks for its hash
// (to match hashes known from elsewhere); files taken in different parts are
// matched by hash, so then every file is hashed. Files that cannot be read, or
// whose size is not `size`, are left out; once the watch says stop, everything is.
std::vector<ContentClass> split(const std::vector<std::string>& paths, int64_t size, bool hashLoners,
                                const ReadWatch& watch, const SideBySideLimits& limits = {});

}  // namespace ContentClasses
}  // namespace tallyfin
