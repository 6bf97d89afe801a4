#include "cli/text_layout.h"

#include <vector>

namespace tallyfin::cli {
namespace {

// Byte offsets where characters start, so cuts never split a UTF-8 sequence.
std::vector<size_t> characterStarts(std::string_view text) {
  std::vector<size_t> starts;
  for (size_t i = 0; i < text.size(); ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) starts.push_back(i);
  }
  return starts;
}

// The length of the UTF-8 sequence starting at `at`, or 0 when it is ill-formed.
size_t sequenceLength(std::string_view text, size_t at) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
  const unsigned char lead = byte(at);
  const size_t length = lead < 0x80 ? 1 : lead >= 0xC2 && lead <= 0xDF ? 2 : lead >= 0xE0 && lead <= 0xEF ? 3
                                                                          : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                                                                         : 0;
  if (length == 0 || at + length > text.size()) return 0;
  for (size_t i = 1; i < length; ++i) {
    if ((byte(at + i) & 0xC0) != 0x80) return 0;
  }
  const unsigned char second = length > 1 ? byte(at + 1) : 0;
  if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) || (lead == 0xF0 && second < 0x90) ||
      (lead == 0xF4 && second > 0x8F)) {
    return 0;  // overlong, surrogate or beyond U+10FFFF
  }
  return length;
}

// C1 controls, line and paragraph separators and the bidirectional overrides that
// can make a name read as something else.
bool isInvisibleControl(std::string_view sequence) {
  if (sequence.size() == 2) return sequence[0] == '\xC2' && static_cast<unsigned char>(sequence[1]) < 0xA0;
  if (sequence.size() != 3 || sequence[0] != '\xE2') return false;
  const auto second = static_cast<unsigned char>(sequence[1]);
  const auto third = static_cast<unsigned char>(sequence[2]);
  return (second == 0x80 && third >= 0xA8 && third <= 0xAE) || (second == 0x81 && third >= 0xA6 && third <= 0xA9);
}

}  // namespace

std::string terminalSafe(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t at = 0; at < text.size();) {
    const char c = text[at];
    const size_t length = sequenceLength(text, at);
    if (length == 0) {
      out += '?';
      ++at;
      continue;
    }
    if (length == 1 && (static_cast<unsigned char>(c) < 0x20 || c == 0x7F)) {
      switch (c) {
        case '\x1b': out += "\\e"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default: out += '?';
      }
    } else if (isInvisibleControl(text.substr(at, length))) {
      out += '?';
    } else {
      out += text.substr(at, length);
    }
    at += length;
  }
  return out;
}

std::string fitWidth(std::string_view text, size_t width) {
  const auto starts = characterStarts(text);
  if (starts.size() <= width) return std::string(text);
  if (width == 0) return {};
  const size_t keep = width - 1;
  const size_t head = keep / 2;
  const size_t tail = keep - head;
  std::string fitted(text.substr(0, starts[head]));
  fitted += "\u2026";
  fitted += text.substr(starts[starts.size() - tail]);
  return fitted;
}

std::string groupedNumber(int64_t number) {
  std::string digits = std::to_string(number < 0 ? -number : number);
  for (int at = static_cast<int>(digits.size()) - 3; at > 0; at -= 3) {
    digits.insert(static_cast<size_t>(at), ",");
  }
  return number < 0 ? "-" + digits : digits;
}

std::string column(std::string_view text, size_t width) {
  std::string fitted = fitWidth(text, width);
  const size_t characters = characterStarts(fitted).size();
  if (characters < width) fitted.append(width - characters, ' ');
  return fitted;
}

std::string wrapped(std::string_view text, size_t width, size_t indent) {
  const auto columns = [](std::string_view piece) {
    size_t count = 0;
    for (const char c : piece) count += (static_cast<unsigned char>(c) & 0xC0) != 0x80 ? 1 : 0;
    return count;
  };
  std::string out, line;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find(' ', start);
    if (end == std::string_view::npos) end = text.size();
    const std::string_view word = text.substr(start, end - start);
    if (!line.empty() && columns(line) + 1 + columns(word) > width) {
      out += line + "\n" + std::string(indent, ' ');
      line.clear();
    }
    line += (line.empty() ? "" : " ") + std::string(word);
    start = end + 1;
  }
  return out + line;
}

}  // namespace tallyfin::cli
