#include "kit/base/utf8.h"

#include <cstdint>

namespace tallyfin {
namespace {

// Length of the well-formed sequence starting at `i`, or 0 when it is ill-formed.
size_t sequenceLength(std::string_view s, size_t i) {
  const auto byte = [&](size_t k) { return static_cast<uint8_t>(s[k]); };
  const uint8_t lead = byte(i);
  if (lead < 0x80) return 1;
  size_t length;
  uint8_t low = 0x80, high = 0xBF;  // allowed range of the second byte
  if (lead >= 0xC2 && lead <= 0xDF) {
    length = 2;
  } else if (lead >= 0xE0 && lead <= 0xEF) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // no overlongs
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (lead >= 0xF0 && lead <= 0xF4) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;  // nothing above U+10FFFF
  } else {
    return 0;
  }
  if (i + length > s.size()) return 0;
  if (byte(i + 1) < low || byte(i + 1) > high) return 0;
  for (size_t k = 2; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
  }
  return length;
}

}  // namespace

bool isValidUtf8(std::string_view bytes) {
  for (size_t i = 0; i < bytes.size();) {
    if (static_cast<uint8_t>(bytes[i]) < 0x80) {
      ++i;
      continue;
    }
    const size_t length = sequenceLength(bytes, i);
    if (length == 0) return false;
    i += length;
  }
  return true;
}

void appendRepairedUtf8(std::string_view bytes, std::string& out) {
  for (size_t i = 0; i < bytes.size();) {
    const size_t length = sequenceLength(bytes, i);
    if (length == 0) {
      out += "\xEF\xBF\xBD";
      ++i;
    } else {
      out.append(bytes.substr(i, length));
      i += length;
    }
  }
}

std::string repairedUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size());
  appendRepairedUtf8(bytes, out);
  return out;
}

}  // namespace tallyfin
