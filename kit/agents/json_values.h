#pragma once

// Values that may be missing, as the JSON results write them: null when absent.

#include <cstdint>
#include <optional>

#include <nlohmann/json.hpp>

#include "kit/store/format.h"

namespace tallyfin::AgentJson {

template <typename T>
nlohmann::json orNull(const std::optional<T>& value) {
  return value ? nlohmann::json(*value) : nlohmann::json(nullptr);
}

// Seconds since 1970 as an ISO 8601 date.
inline nlohmann::json isoDateOrNull(const std::optional<int64_t>& seconds) {
  return seconds ? nlohmann::json(Format::isoDate(*seconds)) : nlohmann::json(nullptr);
}

}  // namespace tallyfin::AgentJson
