#include "kit/tools/duplicate_cache.h"

#include <plist/plist.h>

#include <algorithm>
#include <array>
#include <vector>

#include "kit/tools/file_facts.h"
#include "kit/base/plist_values.h"

namespace tallyfin {
namespace {

constexpr std::array<std::pair<DuplicateCache::Kind, const char*>, 4> kKindNames = {{
    {DuplicateCache::Kind::fingerprint, "fingerprint"},
    {DuplicateCache::Kind::sampled, "sampled"},
    {DuplicateCache::Kind::full, "full"},
    {DuplicateCache::Kind::head, "head"},
}};

using plist_values::owned;
using plist_values::stringValue;
using plist_values::unsignedValue;

// Calls `body(key, value)` for every item of a dictionary node.
template <class Body>
bool forEachItem(plist_t dictionary, Body body) {
  if (!dictionary || plist_get_node_type(dictionary) != PLIST_DICT) return false;
  plist_dict_iter iterator = nullptr;
  plist_dict_new_iter(dictionary, &iterator);
  bool whole = true;
  for (;;) {
    char* key = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(dictionary, iterator, &key, &value);
    if (!key) break;
    whole = body(std::string(key), value) && whole;
    std::free(key);
  }
  std::free(iterator);
  return whole;
}

std::optional<DuplicateCache::Entry> decodeEntry(plist_t node) {
  DuplicateCache::Entry entry;
  const auto used = unsignedValue(plist_dict_get_item(node, "used"));
  if (!used) return std::nullopt;
  entry.used = static_cast<int64_t>(*used);
  const bool whole = forEachItem(plist_dict_get_item(node, "hashes"), [&](const std::string& name, plist_t value) {
    const auto known = std::find_if(kKindNames.begin(), kKindNames.end(),
                                    [&](const auto& pair) { return name == pair.second; });
    auto text = stringValue(value);
    if (!text) return false;
    // A kind this build does not know is another version's; it is let go.
    if (known != kKindNames.end()) entry.hashes[known->first] = std::move(*text);
    return true;
  });
  if (!whole) return std::nullopt;
  return entry;
}

}  // namespace

DuplicateCache::DuplicateCache(const Store& store) : store_(store) {
  const auto bytes = store.loadText(Store::File::duplicateHashes);
  if (auto saved = bytes ? decode(*bytes) : std::nullopt) saved_ = std::move(*saved);
  saved_.run += 1;
}

std::optional<std::string> DuplicateCache::hash(
    const std::string& path, Kind kind, const std::function<std::optional<std::string>()>& compute) {
  return hash(path, kind, [&] {
    Hashes hashes;
    if (auto value = compute()) hashes[kind] = std::move(*value);
    return hashes;
  });
}

std::optional<std::string> DuplicateCache::hash(const std::string& path, Kind kind,
                                                const std::function<Hashes()>& compute) {
  const auto key = FileFacts::identity(path);
  if (!key) return std::nullopt;
  if (auto known = cached(*key, kind)) return known;
  const Hashes computed = compute();
  const auto value = computed.find(kind);
  if (value == computed.end()) return std::nullopt;
  remember(path, *key, computed);
  return value->second;
}

std::optional<std::string> DuplicateCache::cached(const std::string& key, Kind kind) {
  const std::lock_guard guard(lock_);
  const auto found = saved_.entries.find(key);
  if (found == saved_.entries.end()) return std::nullopt;
  const auto known = found->second.hashes.find(kind);
  if (known == found->second.hashes.end()) return std::nullopt;
  // A use counts as a change: the trim on save keeps what is still in use.
  dirty_ = dirty_ || found->second.used != saved_.run;
  found->second.used = saved_.run;
  return known->second;
}

void DuplicateCache::remember(const std::string& path, const std::string& key, const Hashes& hashes) {
  // A file rewritten while it was read gets no entry: its hash may mix two versions.
  if (hashes.empty() || FileFacts::identity(path) != key) return;
  const std::lock_guard guard(lock_);
  Entry& entry = saved_.entries[key];
  for (const auto& [kind, text] : hashes) entry.hashes[kind] = text;
  entry.used = saved_.run;
  dirty_ = true;
}

Status DuplicateCache::save() {
  const std::lock_guard guard(lock_);
  if (!dirty_ || !store_) return ok();
  if (saved_.entries.size() > kMostEntries) {
    std::vector<std::pair<int64_t, std::string>> byUse;
    byUse.reserve(saved_.entries.size());
    for (const auto& [key, entry] : saved_.entries) byUse.emplace_back(entry.used, key);
    std::nth_element(byUse.begin(), byUse.begin() + kMostEntries, byUse.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    for (auto item = byUse.begin() + kMostEntries; item != byUse.end(); ++item) {
      saved_.entries.erase(item->second);
    }
  }
  auto status = store_->saveText(encode(saved_), Store::File::duplicateHashes);
  if (status) dirty_ = false;
  return status;
}

int64_t DuplicateCache::run() const {
  const std::lock_guard guard(lock_);
  return saved_.run;
}

size_t DuplicateCache::size() const {
  const std::lock_guard guard(lock_);
  return saved_.entries.size();
}

std::string DuplicateCache::encode(const Saved& saved) {
  auto root = owned(plist_new_dict());
  plist_dict_set_item(root.get(), "run", plist_new_uint(static_cast<uint64_t>(saved.run)));
  plist_t entries = plist_new_dict();
  for (const auto& [key, entry] : saved.entries) {
    plist_t hashes = plist_new_dict();
    for (const auto& [kind, value] : entry.hashes) {
      plist_dict_set_item(hashes, kKindNames[static_cast<size_t>(kind)].second,
                          plist_new_string(value.c_str()));
    }
    plist_t item = plist_new_dict();
    plist_dict_set_item(item, "hashes", hashes);
    plist_dict_set_item(item, "used", plist_new_uint(static_cast<uint64_t>(entry.used)));
    plist_dict_set_item(entries, key.c_str(), item);
  }
  plist_dict_set_item(root.get(), "entries", entries);
  char* bytes = nullptr;
  uint32_t length = 0;
  plist_to_bin(root.get(), &bytes, &length);
  std::string encoded(bytes ? bytes : "", bytes ? length : 0);
  plist_to_bin_free(bytes);
  return encoded;
}

std::optional<DuplicateCache::Saved> DuplicateCache::decode(std::string_view bytes) {
  const auto root = plist_values::parse(std::string(bytes));
  const plist_t parsed = root.get();
  if (!parsed || plist_get_node_type(parsed) != PLIST_DICT) return std::nullopt;
  Saved saved;
  const auto run = unsignedValue(plist_dict_get_item(parsed, "run"));
  if (!run) return std::nullopt;
  saved.run = static_cast<int64_t>(*run);
  const bool whole = forEachItem(plist_dict_get_item(parsed, "entries"), [&](const std::string& key, plist_t value) {
    auto entry = decodeEntry(value);
    if (entry) saved.entries.emplace(key, std::move(*entry));
    return entry.has_value();
  });
  if (!whole) return std::nullopt;
  return saved;
}

}  // namespace tallyfin
