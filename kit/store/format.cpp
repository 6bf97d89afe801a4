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

std::optional<int64_t> parseIsoDate(std::string_view text) {
  const std::string copy(text);
  tm parts{};
  int consumed = 0;
  if (std::sscanf(copy.c_str(), "%4d-%2d-%2dT%2d:%2d:%2d%n", &parts.tm_year, &parts.tm_mon, &parts.tm_mday,
                  &parts.tm_hour, &parts.tm_min, &parts.tm_sec, &consumed) != 6) {
    return std::nullopt;
  }
  std::string_view rest = text.substr(static_cast<size_t>(consumed));
  if (rest.starts_with('.')) {
    rest.remove_prefix(1);
    while (!rest.empty() && rest.front() >= '0' && rest.front() <= '9') rest.remove_prefix(1);
  }
  int64_t offset = 0;
  if (rest == "Z") {
    offset = 0;
  } else if (rest.size() == 6 && (rest[0] == '+' || rest[0] == '-') && rest[3] == ':') {
    int hours = 0, minutes = 0;
    if (std::sscanf(std::string(rest.substr(1)).c_str(), "%2d:%2d", &hours, &minutes) != 2) return std::nullopt;
    offset = (rest[0] == '+' ? 1 : -1) * (hours * 3600 + minutes * 60);
  } else {
    return std::nullopt;
  }
  parts.tm_year -= 1900;
  parts.tm_mon -= 1;
  return static_cast<int64_t>(::timegm(&parts)) - offset;
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
