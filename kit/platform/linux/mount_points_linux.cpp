#include <fstream>
#include <sstream>

#include "kit/platform/mount_points.h"

namespace tallyfin::platform {
namespace {

// mountinfo writes space, tab, newline and backslash as three octal digits after a backslash.
std::string decodeOctalEscapes(std::string_view field) {
  std::string out;
  out.reserve(field.size());
  for (size_t i = 0; i < field.size(); ++i) {
    const bool escape = field[i] == '\\' && i + 3 < field.size();
    if (escape && field[i + 1] >= '0' && field[i + 1] <= '3' && field[i + 2] >= '0' &&
        field[i + 2] <= '7' && field[i + 3] >= '0' && field[i + 3] <= '7') {
      out += static_cast<char>((field[i + 1] - '0') * 64 + (field[i + 2] - '0') * 8 +
                               (field[i + 3] - '0'));
      i += 3;
    } else {
      out += field[i];
    }
  }
  return out;
}

}  // namespace

std::vector<std::string> parseMountInfo(std::string_view text) {
  // Each line: mount-id parent-id major:minor root mount-point options ...
  std::vector<std::string> points;
  size_t lineStart = 0;
  while (lineStart < text.size()) {
    size_t lineEnd = text.find('\n', lineStart);
    if (lineEnd == std::string_view::npos) lineEnd = text.size();
    const std::string_view line = text.substr(lineStart, lineEnd - lineStart);
    lineStart = lineEnd + 1;

    size_t fieldStart = 0;
    for (int field = 0; field < 4 && fieldStart != std::string_view::npos; ++field) {
      fieldStart = line.find(' ', fieldStart);
      if (fieldStart != std::string_view::npos) ++fieldStart;
    }
    if (fieldStart == std::string_view::npos || fieldStart >= line.size()) continue;
    const size_t fieldEnd = line.find(' ', fieldStart);
    points.push_back(decodeOctalEscapes(line.substr(fieldStart, fieldEnd - fieldStart)));
  }
  return points;
}

std::vector<std::string> mountPoints() {
  std::ifstream file("/proc/self/mountinfo");
  if (!file) return {};
  std::ostringstream text;
  text << file.rdbuf();
  return parseMountInfo(text.str());
}

}  // namespace tallyfin::platform
