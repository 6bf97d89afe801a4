#include "kit/agents/system_data_json.h"

namespace tallyfin::AgentJson {

std::string actionText(const SystemDataPart::Action& action) {
  switch (action.kind) {
    case SystemDataPart::ActionKind::command:
      return "Run the command";
    case SystemDataPart::ActionKind::cleanup:
      return "Review it in the cleanup suggestions";
    case SystemDataPart::ActionKind::manual:
      return action.text;
    case SystemDataPart::ActionKind::automatic:
      return "The system manages it by itself";
    case SystemDataPart::ActionKind::none:
      break;
  }
  return "Nothing to do";
}

nlohmann::json systemData(const std::vector<SystemDataPart>& parts) {
  nlohmann::json list = nlohmann::json::array();
  for (const auto& part : parts) {
    nlohmann::json json = {{"title", part.title},
                           {"size", part.size ? nlohmann::json(*part.size) : nlohmann::json(nullptr)},
                           {"detail", part.detail},
                           {"action", actionText(part.action)}};
    if (part.note) json["note"] = (part.count ? std::to_string(*part.count) + " snapshots" : "") + *part.note;
    if (part.action.kind == SystemDataPart::ActionKind::command) json["command"] = part.action.text;
    if (part.action.category) json["cleanup_category"] = caseName(*part.action.category);
    list.push_back(std::move(json));
  }
  return {{"parts", list}};
}

}  // namespace tallyfin::AgentJson
