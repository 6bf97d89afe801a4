#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "kit/tools/system_data.h"

namespace tallyfin::AgentJson {

// What an action asks of the user, in words: the manual step itself, or a
// phrase for the other kinds.
std::string actionText(const SystemDataPart::Action& action);

// {"parts": [{title, size, detail, note, action, command, cleanup_category}]}
nlohmann::json systemData(const std::vector<SystemDataPart>& parts);

}  // namespace tallyfin::AgentJson
