#pragma once

// Optional record fields: written only when present, read as none when absent or null.

#include <optional>

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

}  // namespace tallyfin
