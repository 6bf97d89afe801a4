#pragma once

// Optional record fields: written only when present, read as none when absent or null.

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace tallyfin {

template <class T>
void setOptional(nlohmann::json& json, const char* key, const std::optional<T>& value) {
  if (value) json[key] = *value;
}

template <class T>
std::optional<T> optionalField(const nlohmann::json& json, const char* key) {
  const auto it = json.find(key);
  if (it == json.end() || it->is_null()) return std::nullopt;
  return it->get<T>();
}

// A text that need not be UTF-8, such as a path from the disk. JSON holds only
// UTF-8, so such a text is written repaired under `key`, for people, and exactly,
// in hexadecimal, under `key` + "Bytes"; reading prefers the exact form.
void setExactText(nlohmann::json& json, const std::string& key, const std::string& value);
std::string exactText(const nlohmann::json& json, const std::string& key);

}  // namespace tallyfin
