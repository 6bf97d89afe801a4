#include "kit/store/large_file.h"

#include <nlohmann/json.hpp>

namespace tallyfin {

void to_json(nlohmann::json& json, const LargeFile& file) {
  json = nlohmann::json{{"path", file.path},
                        {"size", file.size},
                        {"modified", file.modified},
                        {"accessed", file.accessed}};
}

void from_json(const nlohmann::json& json, LargeFile& file) {
  file.path = json.at("path").get<std::string>();
  file.size = json.at("size").get<int64_t>();
  file.modified = json.at("modified").get<int64_t>();
  file.accessed = json.at("accessed").get<int64_t>();
}

}  // namespace tallyfin
