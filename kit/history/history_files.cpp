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
Expected<std::vector<T>, Error> append(const Store& store, Store::File file, const T& value,
                                       size_t limit) {
  std::vector<T> list;
  const Status status = store.withLock(file, [&]() -> Status {
    list = loadList<T>(store, file);
    list.push_back(value);
    if (list.size() > limit) list.erase(list.begin(), list.end() - static_cast<long>(limit));
    return store.save(list, file);
  });
  if (!status) return fail(status.error());
  return list;
}

}  // namespace

Expected<std::vector<HistoryEntry>, Error> appendHistory(const Store& store,
                                                         const HistoryEntry& entry) {
  return append(store, Store::File::history, entry, kHistoryLimit);
}

Expected<std::vector<FolderSample>, Error> appendFolderSample(const Store& store,
                                                              const FolderSample& sample) {
  return append(store, Store::File::folderHistory, sample, kFolderHistoryLimit);
}

std::vector<HistoryEntry> history(const Store& store) {
  return loadList<HistoryEntry>(store, Store::File::history);
}

std::vector<FolderSample> folderHistory(const Store& store) {
  return loadList<FolderSample>(store, Store::File::folderHistory);
}

}  // namespace tallyfin::HistoryFiles
