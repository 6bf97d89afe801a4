#pragma once

// A folder whose change is mostly one inner folder's change says nothing that inner
// folder does not: lists of growing or changed folders leave such a folder out.

#include <algorithm>
#include <cstdint>
#include <vector>

#include "kit/base/paths.h"

namespace tallyfin {

// Whether a folder inside `outer` changed the same way by at least three quarters
// (0.75 exactly is enough) of `outer`'s change. Items have `path` and `delta`.
template <class Item>
bool explainedByInner(const Item& outer, const std::vector<Item>& items) {
  return std::any_of(items.begin(), items.end(), [&](const Item& inner) {
    const bool sameWay = (inner.delta > 0) == (outer.delta > 0);
    return sameWay && isInside(inner.path, outer.path) &&
           static_cast<double>(inner.delta > 0 ? inner.delta : -inner.delta) >=
               0.75 * static_cast<double>(outer.delta > 0 ? outer.delta : -outer.delta);
  });
}

// The items that no inner item explains, in their order.
template <class Item>
std::vector<Item> withoutExplainedFolders(const std::vector<Item>& items) {
  std::vector<Item> kept;
  for (const auto& item : items) {
    if (!explainedByInner(item, items)) kept.push_back(item);
  }
  return kept;
}

}  // namespace tallyfin
