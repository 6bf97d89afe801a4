#include "kit/agents/preview_ledger.h"

#include <algorithm>

namespace tallyfin {

std::string PreviewLedger::binding(const std::vector<PreviewedItem>& items) {
  std::vector<const PreviewedItem*> sorted;
  for (const auto& item : items) sorted.push_back(&item);
  std::sort(sorted.begin(), sorted.end(), [](auto* a, auto* b) { return a->path < b->path; });
  std::string text;
  for (const PreviewedItem* item : sorted) {
    text += item->path;
    text += '\0';
    text += std::to_string(static_cast<int>(item->identity.type)) + ":" +
            std::to_string(item->identity.device.value_or(0)) + ":" +
            std::to_string(item->identity.inode.value_or(0)) + ":" + std::to_string(item->size);
    text += '\0';
  }
  return text;
}

void PreviewLedger::remember(const std::string& token, double expires, std::vector<PreviewedItem> items) {
  while (previews_.size() >= kMostRemembered) {
    const auto first = std::min_element(previews_.begin(), previews_.end(), [](const auto& a, const auto& b) {
      return a.second.expires < b.second.expires;
    });
    previews_.erase(first);
  }
  previews_[token] = Preview{expires, std::move(items), false};
}

PreviewLedger::Preview* PreviewLedger::find(const std::string& token, double now) {
  std::erase_if(previews_, [now](const auto& entry) { return now >= entry.second.expires + kRememberedAfterExpiry; });
  const auto it = previews_.find(token);
  return it == previews_.end() ? nullptr : &it->second;
}

}  // namespace tallyfin
