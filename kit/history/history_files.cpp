#include "kit/history/history_files.h"

#include <nlohmann/json.hpp>

namespace tallyfin::HistoryFiles {
namespace {

template <class T>
std::vector<T> loadList(const Store& store, Store::File file) {
  auto list = store.load<std::vector<T>>(file);
  return list ? std::move(*list) : std::vector<T>{};
}

template <class T>
Expected<Appended<T>, Error> append(const Store& store, Store::File file, const T& value, size_t limit) {
  Appended<T> appended;
  const auto saved = store.update<std::vector<T>>(file, Store::OnDamage::keepAside, [&](std::vector<T>& list) -> Status {
    list.push_back(value);
    if (list.size() > limit) list.erase(list.begin(), list.end() - static_cast<long>(limit));
    appended.list = list;
    return ok();
  });
  if (!saved) return fail(saved.error());
  appended.note = *saved;
  return appended;
}

}  // namespace

Expected<Appended<HistoryEntry>, Error> appendHistory(const Store& store, const HistoryEntry& entry) {
  return append(store, Store::File::history, entry, kHistoryLimit);
}

Expected<Appended<FolderSample>, Error> appendFolderSample(const Store& store, const FolderSample& sample) {
  return append(store, Store::File::folderHistory, sample, kFolderHistoryLimit);
}

std::vector<HistoryEntry> history(const Store& store) {
  return loadList<HistoryEntry>(store, Store::File::history);
}

std::vector<FolderSample> folderHistory(const Store& store) {
  return loadList<FolderSample>(store, Store::File::folderHistory);
}

}  // namespace tallyfin::HistoryFiles
