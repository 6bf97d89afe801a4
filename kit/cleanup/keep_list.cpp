#include "kit/cleanup/keep_list.h"

#include <cerrno>

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

namespace {

// The sentence for a keep list that exists but can't be read: it names the file and
// says what to do, and stands as the reason for every item that can't move now.
Error damaged(const Store& store) {
  return {store.damagedError(Store::File::keep).message +
              ", so Tallyfin can't tell what you chose to keep \u2014 fix keep.json or remove it "
              "(removing forgets every kept item), then try again.",
          EILSEQ};
}

}  // namespace

Expected<std::set<std::string>, Error> read(const Store& store) {
  if (!store.isTrusted()) return fail(Error{"Tallyfin can't tell what you chose to keep. " + store.trustProblem(), EACCES});
  auto list = store.loadForChange<std::set<std::string>>(Store::File::keep);
  if (!list) return fail(damaged(store));
  return list->value_or(std::set<std::string>{});
}

Expected<std::set<std::string>, Error> set(const Store& store, const std::string& path, bool kept) {
  std::set<std::string> updated;
  const auto saved = store.update<std::set<std::string>>(
      Store::File::keep, Store::OnDamage::refuse, [&](std::set<std::string>& list) -> Status {
        if (kept) {
          list.insert(path);
        } else {
          list.erase(path);
        }
        // A std::set is already sorted, so the array is written in ascending order.
        updated = list;
        return ok();
      });
  if (!saved) return fail(saved.error().code == EILSEQ ? damaged(store) : saved.error());
  return updated;
}

}  // namespace KeepList
}  // namespace tallyfin
