#include "kit/cleanup/cleanup_totals.h"

#include <algorithm>
#include <array>

#include "kit/base/saturating.h"

namespace tallyfin {

CleanupTotals cleanupTotals(const std::vector<CleanupItem>& items,
                            const std::set<std::string>& kept) {
  CleanupTotals totals;
  std::array<int64_t, kCleanupCategoryCount> safeByCategory{};
  for (const auto& item : items) {
    if (kept.contains(item.path)) continue;
    if (item.safety == Safety::safe) {
      totals.safe = saturatingAdd(totals.safe, item.size);
      auto& category = safeByCategory[static_cast<size_t>(item.category)];
      category = saturatingAdd(category, item.size);
    } else {
      totals.review = saturatingAdd(totals.review, item.size);
    }
  }
  const auto largest = std::max_element(safeByCategory.begin(), safeByCategory.end());
  if (*largest > 0) {
    totals.largestSafeCategory = static_cast<CleanupCategory>(largest - safeByCategory.begin());
    totals.largestSafeCategorySize = *largest;
  }
  return totals;
}

}  // namespace tallyfin
