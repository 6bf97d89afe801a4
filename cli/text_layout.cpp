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

}  // namespace

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

}  // namespace tallyfin::cli
