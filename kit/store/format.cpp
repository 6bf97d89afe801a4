#include "kit/store/format.h"

#include <array>
#include <cstdio>
#include <ctime>

namespace tallyfin::Format {

std::string bytes(int64_t count) {
  if (count < 1) return "0 B";
  if (count <= 999) return std::to_string(count) + " B";
  static constexpr std::array<const char*, 4> kUnits = {"KB", "MB", "GB", "TB"};
  double value = static_cast<double>(count) / 1000.0;
  size_t unit = 0;
  while (value >= 999.5 && unit + 1 < kUnits.size()) {
    value /= 1000.0;
    ++unit;
  }
  const int decimals = value >= 100 ? 0 : value >= 10 ? 1 : 2;
  char text[64];
  std::snprintf(text, sizeof text, "%.*f %s", decimals, value, kUnits[unit]);
  return text;
}

std::string isoDate(int64_t secondsSince1970) {
  const auto time = static_cast<time_t>(secondsSince1970);
  tm utc{};
  ::gmtime_r(&time, &utc);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &utc);
  return text;
}

std::string shortPath(std::string_view path, std::string_view home) {
  if (home.empty()) return std::string(path);
  if (path == home) return "~";
  if (path.size() > home.size() && path.starts_with(home) && path[home.size()] == '/') {
    return "~" + std::string(path.substr(home.size()));
  }
  return std::string(path);
}

}  // namespace tallyfin::Format
