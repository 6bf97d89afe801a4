#pragma once

// Sums of sizes and counts never wrap around: they stop at the type's limits.

#include <cstdint>
#include <limits>

namespace tallyfin {

inline int64_t saturatingAdd(int64_t a, int64_t b) {
  int64_t sum;
  if (__builtin_add_overflow(a, b, &sum)) {
    return b > 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
  }
  return sum;
}

inline int64_t saturatingSub(int64_t a, int64_t b) {
  int64_t difference;
  if (__builtin_sub_overflow(a, b, &difference)) {
    return b < 0 ? std::numeric_limits<int64_t>::max() : std::numeric_limits<int64_t>::min();
  }
  return difference;
}

// Removes `amount` from a size or count that must not go below zero.
inline int64_t subtractFloorZero(int64_t value, int64_t amount) {
  const int64_t rest = saturatingSub(value, amount);
  return rest < 0 ? 0 : rest;
}

}  // namespace tallyfin
