#include "kit/base/decimal_size.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <utility>

namespace tallyfin {

int64_t decimalBytes(std::string_view text) {
  const size_t numberEnd = std::min(text.find_first_not_of("0123456789."), text.size());
  const std::string number(text.substr(0, numberEnd));
  std::string_view unit = text.substr(numberEnd);
  if (unit.starts_with(' ')) unit.remove_prefix(1);
  if (unit.starts_with("\u00a0")) unit.remove_prefix(std::string_view("\u00a0").size());
  unit = unit.substr(0, unit.find_first_not_of("kKMGTB"));
  static constexpr std::array<std::pair<std::string_view, double>, 6> kUnits = {{
      {"TB", 1e12}, {"GB", 1e9}, {"MB", 1e6}, {"kB", 1e3}, {"KB", 1e3}, {"B", 1}}};
  for (const auto& [suffix, factor] : kUnits) {
    if (unit != suffix) continue;
    char* end = nullptr;
    const double value = std::strtod(number.c_str(), &end);
    if (number.empty() || end != number.c_str() + number.size() || !(value >= 0)) return 0;
    const double total = std::round(value * factor);
    // 2^63 is the first double past the largest int64.
    if (total >= 9'223'372'036'854'775'808.0) return std::numeric_limits<int64_t>::max();
    return static_cast<int64_t>(total);
  }
  return 0;
}

}  // namespace tallyfin
