#pragma once

#include <set>
#include <string>
#include <string_view>

#include "kit/base/error.h"
#include "kit/store/store.h"

namespace tallyfin {

// Suggestions the user has kept (hidden by their own path only) or already
// removed (hidden with everything below them).
struct HiddenPaths {
  std::set<std::string, std::less<>> kept;
  std::set<std::string, std::less<>> removed;

  bool contains(std::string_view path) const;
};

// The user's kept paths, stored as keep.json: a sorted JSON array of paths.
namespace KeepList {

// The kept paths for showing totals; empty when keep.json is missing or unreadable.
std::set<std::string> paths(const Store& store);

// The kept paths for deciding what may move: a keep.json that is there but can't
// be read is an error, because then nothing can be known not to be kept.
Expected<std::set<std::string>, Error> read(const Store& store);

// Adds (kept) or removes the path under keep.json's lock; the new set once saved.
// A damaged keep.json is left as it is and the change refused.
Expected<std::set<std::string>, Error> set(const Store& store, const std::string& path, bool kept);

}  // namespace KeepList
}  // namespace tallyfin
