#include "kit/base/json_fields.h"

#include "kit/base/utf8.h"

namespace tallyfin {
namespace {

constexpr std::string_view kBytesSuffix = "Bytes";

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

std::optional<std::string> fromHex(std::string_view hex) {
  if (hex.size() % 2 != 0) return std::nullopt;
  std::string bytes;
  for (size_t i = 0; i < hex.size(); i += 2) {
    const int high = hexDigit(hex[i]);
    const int low = hexDigit(hex[i + 1]);
    if (high < 0 || low < 0) return std::nullopt;
    bytes += static_cast<char>(high * 16 + low);
  }
  return bytes;
}

}  // namespace

void setExactText(nlohmann::json& json, const std::string& key, const std::string& value) {
  if (isValidUtf8(value)) {
    json[key] = value;
    return;
  }
  json[key] = repairedUtf8(value);
  static constexpr char kHex[] = "0123456789abcdef";
  std::string hex;
  for (const char c : value) {
    hex += kHex[static_cast<unsigned char>(c) >> 4];
    hex += kHex[static_cast<unsigned char>(c) & 0x0f];
  }
  json[key + std::string(kBytesSuffix)] = hex;
}

std::string exactText(const nlohmann::json& json, const std::string& key) {
  const auto exact = json.find(key + std::string(kBytesSuffix));
  if (exact != json.end() && exact->is_string()) {
    if (auto bytes = fromHex(exact->get<std::string>())) return *bytes;
  }
  return json.at(key).get<std::string>();
}

}  // namespace tallyfin
