#include "kit/agents/tool_arguments.h"

#include <cmath>

#include "kit/agents/mcp_server.h"

namespace tallyfin::ToolArguments {

void onlyKnown(const nlohmann::json& arguments, const nlohmann::json& properties) {
  if (!arguments.is_object()) throw ToolError("arguments must be an object");
  for (const auto& [name, value] : arguments.items()) {
    if (!properties.contains(name)) throw ToolError("Unknown argument " + name);
  }
}

std::optional<std::string> text(const nlohmann::json& arguments, const char* name) {
  if (!arguments.contains(name) || arguments[name].is_null()) return std::nullopt;
  if (!arguments[name].is_string()) throw ToolError(std::string(name) + " must be a string");
  return arguments[name].get<std::string>();
}

bool flag(const nlohmann::json& arguments, const char* name) {
  if (!arguments.contains(name) || arguments[name].is_null()) return false;
  if (!arguments[name].is_boolean()) throw ToolError(std::string(name) + " must be true or false");
  return arguments[name].get<bool>();
}

int64_t whole(const nlohmann::json& arguments, const char* name, int64_t fallback, int64_t minimum,
              int64_t maximum) {
  if (!arguments.contains(name) || arguments[name].is_null()) return fallback;
  const auto& value = arguments[name];
  // Some clients send 25.0 for 25.
  const bool integral = value.is_number_integer() ||
                        (value.is_number_float() && std::floor(value.get<double>()) == value.get<double>() &&
                         std::abs(value.get<double>()) < 9e15);
  const int64_t number = integral ? (value.is_number_integer() ? value.get<int64_t>()
                                                               : static_cast<int64_t>(value.get<double>()))
                                  : 0;
  if (!integral || number < minimum || number > maximum) {
    throw ToolError(std::string(name) + " must be a whole number from " + std::to_string(minimum) + " to " +
                    std::to_string(maximum));
  }
  return number;
}

std::optional<std::vector<std::string>> texts(const nlohmann::json& arguments, const char* name) {
  if (!arguments.contains(name) || arguments[name].is_null()) return std::nullopt;
  const auto& value = arguments[name];
  const std::string error = std::string(name) + " must be a list of strings";
  if (!value.is_array()) throw ToolError(error);
  std::vector<std::string> list;
  for (const auto& item : value) {
    if (!item.is_string()) throw ToolError(error);
    list.push_back(item.get<std::string>());
  }
  return list;
}

}  // namespace tallyfin::ToolArguments
