#pragma once

#include "kit/base/error.h"
#include "kit/history/history_records.h"
#include "kit/store/store.h"

namespace tallyfin::HistoryFiles {

inline constexpr size_t kHistoryLimit = 200;
inline constexpr size_t kFolderHistoryLimit = 52;

// Appends under history.json's lock, keeping the last 200 entries; the list as saved.
Expected<std::vector<HistoryEntry>, Error> appendHistory(const Store& store,
                                                         const HistoryEntry& entry);

// Appends under folder-history.json's lock, keeping the last 52 samples; the list as saved.
Expected<std::vector<FolderSample>, Error> appendFolderSample(const Store& store,
                                                              const FolderSample& sample);

std::vector<HistoryEntry> history(const Store& store);
std::vector<FolderSample> folderHistory(const Store& store);

}  // namespace tallyfin::HistoryFiles
