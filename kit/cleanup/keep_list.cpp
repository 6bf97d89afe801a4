#include "kit/cleanup/keep_list.h"

#include "kit/base/paths.h"

namespace tallyfin {

bool HiddenPaths::contains(std::string_view path) const {
  if (kept.contains(path)) return true;
  if (removed.empty()) return false;
  for (std::string_view at = path; !at.empty() && at != "/"; at = parentPath(at)) {
    if (removed.contains(at)) return true;
  }
  return false;
}

namespace KeepList {

std::set<std::string> paths(const Store& store) {
  auto list = store.load<std::set<std::string>>(Store::File::keep);
  return list ? std::move(*list) : std::set<std::string>{};
}

Expected<std::set<std::string>, Error> set(const Store& store, const std::string& path, bool kept) {
  std::set<std::string> updated;
  const Status status = store.withLock(Store::File::keep, [&]() -> Status {
    updated = paths(store);
    if (kept) {
      updated.insert(path);
    } else {
      updated.erase(path);
    }
    // A std::set is already sorted, so the array is written in ascending order.
    return store.save(updated, Store::File::keep);
  });
  if (!status) return fail(status.error());
  return updated;
}

}  // namespace KeepList
}  // namespace tallyfin
