#pragma once

#include <cstdint>
#include <string>

#include <nlohmann/json_fwd.hpp>

namespace tallyfin {

// A file at or above the scan's large-file threshold.
struct LargeFile {
  std::string path;  // display path
  int64_t size = 0;  // allocated bytes
  int64_t modified = 0;
  int64_t accessed = 0;
  bool operator==(const LargeFile&) const = default;
};

void to_json(nlohmann::json& json, const LargeFile& file);
void from_json(const nlohmann::json& json, LargeFile& file);

}  // namespace tallyfin
