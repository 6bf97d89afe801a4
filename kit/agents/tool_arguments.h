#pragma once

// Typed reads of a tool's arguments: a missing argument takes its default, a
// wrong type or a value out of range is a ToolError that names the argument.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace tallyfin::ToolArguments {

// Fails for any argument the tool does not take.
void onlyKnown(const nlohmann::json& arguments, const nlohmann::json& properties);

std::optional<std::string> text(const nlohmann::json& arguments, const char* name);
bool flag(const nlohmann::json& arguments, const char* name);
int64_t whole(const nlohmann::json& arguments, const char* name, int64_t fallback, int64_t minimum,
              int64_t maximum);
std::optional<std::vector<std::string>> texts(const nlohmann::json& arguments, const char* name);

}  // namespace tallyfin::ToolArguments
