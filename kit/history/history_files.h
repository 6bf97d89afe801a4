#pragma once

#include "kit/base/error.h"
#include "kit/history/history_records.h"
#include "kit/store/store.h"

namespace tallyfin::HistoryFiles {

inline constexpr size_t kHistoryLimit = 200;
inline constexpr size_t kFolderHistoryLimit = 52;

// A list as saved, and the sentence saying so when a damaged file had to be kept aside.
template <class T>
struct Appended {
  std::vector<T> list;
  std::optional<std::string> note;
};

// Appends under history.json's lock, keeping the last 200 entries.
Expected<Appended<HistoryEntry>, Error> appendHistory(const Store& store, const HistoryEntry& entry);

// Appends under folder-history.json's lock, keeping the last 52 samples.
Expected<Appended<FolderSample>, Error> appendFolderSample(const Store& store, const FolderSample& sample);

std::vector<HistoryEntry> history(const Store& store);
std::vector<FolderSample> folderHistory(const Store& store);

}  // namespace tallyfin::HistoryFiles
