#include "kit/tools/content_classes.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>

#include "kit/platform/file_storage.h"
#include "kit/tools/sha256.h"

namespace tallyfin {
namespace {

// One open file with its own buffer, which holds the block last read.
struct Member {
  size_t index;
  ReadableFile file;
  std::unique_ptr<char[]> buffer;
};

// Files identical so far, and the hash of the bytes they share.
struct Class {
  std::vector<Member*> members;
  Sha256 hash;
};

// Blocks shrink as more files are open at once, so memory stays within the limit.
int64_t blockFor(size_t files, const SideBySideLimits& limits) {
  const int64_t page = platform::cachePageSize();
  const int64_t share = limits.bufferBytes / static_cast<int64_t>(std::max<size_t>(files, 1));
  return std::clamp(share / page * page, FileFacts::kSample, FileFacts::kBlock);
}

// The members split by the block just read into them; each part's first member
// stands for it.
std::vector<std::vector<Member*>> partsOf(const std::vector<Member*>& members, size_t length) {
  std::vector<std::vector<Member*>> parts;
  for (Member* member : members) {
    const auto same = std::find_if(parts.begin(), parts.end(), [&](const std::vector<Member*>& part) {
      return std::memcmp(part.front()->buffer.get(), member->buffer.get(), length) == 0;
    });
    if (same == parts.end()) {
      parts.push_back({member});
    } else {
      same->push_back(member);
    }
  }
  return parts;
}

// Reads the open files block by block, splitting classes as their members differ.
std::vector<Class> splitOpen(std::vector<Member>& members, int64_t size, size_t smallestClass,
                             int64_t block, const ReadWatch& watch) {
  std::vector<Class> classes;
  if (members.size() >= smallestClass) {
    Class all;
    for (Member& member : members) all.members.push_back(&member);
    classes.push_back(std::move(all));
  }
  for (int64_t offset = 0; offset < size && !classes.empty(); offset += block) {
    const auto length = static_cast<size_t>(std::min(block, size - offset));
    std::vector<Class> next;
    for (Class& current : classes) {
      std::vector<Member*> read;
      for (Member* member : current.members) {
        // A short read means the file changed under us: it no longer belongs.
        if (member->file.read(offset, {member->buffer.get(), length}, watch) == length) read.push_back(member);
        if (watch.stopped()) return {};
      }
      auto parts = partsOf(read, length);
      // Every part goes on from the hash of the bytes its class shared so far.
      for (size_t p = parts.size(); p-- > 0;) {
        if (parts[p].size() < smallestClass) continue;
        Class part{std::move(parts[p]), p == 0 ? std::move(current.hash) : Sha256(current.hash)};
        part.hash.add(part.members.front()->buffer.get(), length);
        next.push_back(std::move(part));
      }
    }
    classes = std::move(next);
  }
  return classes;
}

}  // namespace

namespace ContentClasses {

std::vector<ContentClass> split(const std::vector<std::string>& paths, int64_t size, bool hashLoners,
                                const ReadWatch& watch, const SideBySideLimits& limits) {
  const size_t mostOpen = std::max<size_t>(limits.mostOpen, 1);
  // A file alone in one part may be the copy of a file in another.
  const size_t smallestClass = hashLoners || paths.size() > mostOpen ? 1 : 2;
  std::map<std::string, std::vector<size_t>> byHash;
  for (size_t start = 0; start < paths.size(); start += mostOpen) {
    const size_t end = std::min(paths.size(), start + mostOpen);
    const int64_t block = blockFor(end - start, limits);
    std::vector<Member> members;
    members.reserve(end - start);
    for (size_t i = start; i < end; ++i) {
      auto file = FileFacts::openForReading(paths[i]);
      if (!file || file->size() != size) continue;
      file->willReadWhole(watch);
      members.push_back({i, std::move(*file), std::make_unique_for_overwrite<char[]>(static_cast<size_t>(block))});
    }
    for (Class& found : splitOpen(members, size, smallestClass, block, watch)) {
      auto& indexes = byHash[found.hash.finish()];
      for (const Member* member : found.members) indexes.push_back(member->index);
    }
    if (watch.stopped()) return {};
  }
  std::vector<ContentClass> classes;
  for (auto& [hash, members] : byHash) {
    std::sort(members.begin(), members.end());
    classes.push_back({hash, std::move(members)});
  }
  return classes;
}

}  // namespace ContentClasses
}  // namespace tallyfin
