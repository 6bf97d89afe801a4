#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "kit/cleanup/cleanup_item.h"

namespace tallyfin {

// What the suggestions the user still sees add up to; kept paths are left out.
struct CleanupTotals {
  int64_t safe = 0;
  int64_t review = 0;
  std::optional<CleanupCategory> largestSafeCategory;
  int64_t largestSafeCategorySize = 0;
};

CleanupTotals cleanupTotals(const std::vector<CleanupItem>& items,
                            const std::set<std::string>& kept);

}  // namespace tallyfin
